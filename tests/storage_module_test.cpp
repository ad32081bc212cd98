// Tests of the module "JSStorage" through the process-wide manager, on the
// real clipboard (the system's on Windows, the process-local one elsewhere).
#include <gtest/gtest.h>

#include <cstring>
#include <optional>

#include "MoxBizAccess.h"
#include "modules/storage/ClipBoardHelper.h"
#include "system_probe.h"
#include "tests/fakes/bridge_fixture.h"
#include "tests/fakes/capture_sinks.h"

namespace moxh5::test {
namespace {

const char kNotCopied[] = "\xE5\xA4\x8D\xE5\x88\xB6\xE5\xA4\xB1\xE8\xB4\xA5";  // 复制失败
const ClipboardData kKept{platform::kClipboardUnicodeText, Utf16Bytes(u"kept")};

class StorageModule : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(ReplaceClipboard({kKept})); }

    // One call; params null: the payload has no "params".
    std::tuple<bool, bool> Run(const char* method, const char* params, bool isWorker = false) {
        host.ClearCalls();
        call = MakeCall(method, params ? ParseJson(params) : Json::Value(), isWorker);
        if (!params) call.payload.removeMember("params");
        answer = Json::Value(Json::objectValue);
        return ReadySingleton().Execute("JSStorage", call, answer);
    }
    // The answers the module delivered itself, as JSON.
    std::vector<Json::Value> Delivered() const {
        std::vector<Json::Value> texts;
        for (const HostCall& c : host.CallsOf("RenderJsCallback")) {
            EXPECT_EQ(c.args["callId"], "cb-1");
            texts.push_back(ParseJson(c.args["data"].asString()));
        }
        return texts;
    }
    // The toasts shown, as "<kind>:<text>" each (their length and duration are in the
    // storage transcript).
    std::string Toast() const {
        std::string shown;
        for (const HostCall& toast : host.CallsOf("ShowToast"))
            shown += toast.args["kind"].asString() + ":" + toast.args["text"].asString();
        return shown;
    }

    RecordingHost host;
    ScopedActionInterface installed{&host};
    mox_h5_module_data call;
    Json::Value answer;
};

// Test that every render-page call is answered exactly once, by the module itself (an image by
// the host), and never again by the unified callback; worker pages never. Without an action
// interface nothing is delivered and the answer says why.
TEST_F(StorageModule, AnswersEachRenderCallOnceAndWorkerCallsNever) {
    const struct {
        const char* method;
        const char* params;
        bool handled, handledWithoutHost;
    } calls[] = {
        {"setPasteboard", R"({"type":"text","data":"x"})", true, false},
        {"setPasteboard", nullptr, true, false},
        {"setPasteboard", R"({"type":"image","data":"data:image/png;base64,AAA"})", true, false},
        {"setAllPasteboard", "{}", true, false},
        {"getClipboardData", "{}", true, true},
        {"noSuchMethod", "{}", false, false},
    };
    for (const auto& c : calls) {
        SCOPED_TRACE(std::string(c.method) + " " + (c.params ? c.params : "-"));
        const bool image = c.params && std::strstr(c.params, "image");
        EXPECT_EQ(Run(c.method, c.params), std::make_tuple(true, c.handled));
        ASSERT_EQ(Delivered().size(), image ? 0u : 1u);
        if (!image) {
            EXPECT_FALSE(Delivered()[0].isMember("NoNeedUnifyCallBack"));
        }
        callBackToWebPage(false, c.handled, 7, call.mallcsid, call.callbackid, "", answer);
        EXPECT_EQ(host.CountOf("RenderJsCallback"), 1u);

        Run(c.method, c.params, /*isWorker=*/true);
        EXPECT_TRUE(Delivered().empty());
        EXPECT_FALSE(answer.isMember("NoNeedUnifyCallBack"));

        ScopedActionInterface none(nullptr);
        EXPECT_EQ(Run(c.method, c.params), std::make_tuple(true, c.handledWithoutHost));
        EXPECT_EQ(answer["message"], "Native impl instance is null.");
        EXPECT_TRUE(host.Calls().empty());
    }
    host.SetResult("SetAllPasteboard", false);
    EXPECT_EQ(Run("setAllPasteboard", "{}"), std::make_tuple(true, false));
    EXPECT_EQ(Delivered().size(), 1u);
    // Reading tells only whether something readable is there.
    ASSERT_TRUE(ReplaceClipboard({}));
    EXPECT_EQ(Run("getClipboardData", "{}"), std::make_tuple(true, false));
    EXPECT_EQ(Delivered().at(0), Json::Value(Json::objectValue));
}

// Test what setPasteboard puts on the clipboard and which toast confirms it; a clipboard held
// elsewhere shows the failure toast and logs the system's error number.
TEST_F(StorageModule, TextIsCopiedAndConfirmedOtherTypesCopyNothing) {
    const struct {
        const char* params;
        std::wstring onClipboard;
        std::string toast;
        bool held = false;
    } cases[] = {
        {R"({"type":"text","data":"x","successMsg":"saved","errorMsg":"no"})", L"x", "1:saved"},
        {R"({"type":"text","data":"","successMsg":""})", L"", "1:"},
        {R"({"type":"Text","data":"x"})", L"kept", ""},
        {R"({"type":"text","data":7})", L"kept", ""},
        {R"({"type":"text","data":"x"})", L"kept", std::string("2:") + kNotCopied, true},
        {R"({"type":"text","data":"x","errorMsg":"try again"})", L"kept", "2:try again", true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.params);
        ASSERT_TRUE(ReplaceClipboard({kKept}));
        ScopedLogCapture log;
        {
            std::optional<ClipboardHeldElsewhere> holder;
            if (c.held) {
                ASSERT_TRUE(holder.emplace().Held());
            }
            EXPECT_EQ(Run("setPasteboard", c.params), std::make_tuple(true, true));
        }
        EXPECT_EQ(ReadClipboardUnicodeText(), c.onClipboard);
        EXPECT_EQ(Toast(), c.toast);
        // The answer carries no result: the toast is the only report.
        EXPECT_EQ(Delivered().at(0), Json::Value(Json::objectValue));
        const auto lines = log->Matching(
            "Copy unicodetext to clipboard failed, OpenClipboard or "
            "EmptyClipboard failed, lasterrcode: ");
        ASSERT_EQ(lines.size(), c.held ? 1u : 0u);
        if (c.held) {
            EXPECT_EQ(lines[0].text.find(" 0."), std::string::npos) << "the error number";
        }
    }
}

// Test who installs the process's clipboard helper: the storage worker, unless
// the embedder installed one first.
TEST(StorageHelperInstallation, WorkerInstallsTheLibraryHelperOnlyWhenNoneIsThere) {
    ReadySingleton();
    CClipBoardHelper* const previous = SingletonBizAcs::GetCClipBoardHelper();
    EXPECT_EQ(previous, &CClipBoardHelper::ProcessInstance());
    CClipBoardHelper embedders(0, 0);
    for (CClipBoardHelper* installed : {&embedders, static_cast<CClipBoardHelper*>(nullptr)}) {
        SingletonBizAcs::SetCClipBoardHelper(installed);
        TestManager manager;
        manager.Init(nullptr, nullptr, {});
        manager.Create();
        EXPECT_EQ(SingletonBizAcs::GetCClipBoardHelper(),
                  installed ? installed : &CClipBoardHelper::ProcessInstance());
    }
    SingletonBizAcs::SetCClipBoardHelper(previous);
}

}  // namespace
}  // namespace moxh5::test
