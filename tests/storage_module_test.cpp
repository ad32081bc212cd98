// Tests of the module "JSStorage" through the process-wide manager, on the
// real clipboard (the system's on Windows, the process-local one elsewhere).
#include <gtest/gtest.h>

#include "MoxBizAccess.h"
#include "modules/storage/ClipBoardHelper.h"
#include "system_probe.h"
#include "tests/fakes/bridge_fixture.h"
#include "tests/fakes/capture_sinks.h"

namespace moxh5::test {
namespace {

const char kCopied[] = "\xE5\xA4\x8D\xE5\x88\xB6\xE6\x88\x90\xE5\x8A\x9F";     // 复制成功
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
    // The one toast shown, as "<kind>:<text>", or "" for none.
    std::string Toast() const {
        const auto toasts = host.CallsOf("ShowToast");
        if (toasts.empty()) return "";
        EXPECT_EQ(toasts.size(), 1u);
        EXPECT_EQ(toasts[0].args["length"].asUInt64(), toasts[0].args["text"].asString().size());
        EXPECT_EQ(toasts[0].args["durationMs"], 1500);
        return toasts[0].args["kind"].asString() + ":" + toasts[0].args["text"].asString();
    }

    RecordingHost host;
    ScopedActionInterface installed{&host};
    mox_h5_module_data call;
    Json::Value answer;
};

// Test that every render-page call is answered exactly once, by the module
// itself, and never again by the unified callback; worker pages never.
TEST_F(StorageModule, AnswersEachRenderCallOnceAndWorkerCallsNever) {
    const std::pair<const char*, const char*> calls[] = {
        {"setPasteboard", R"({"type":"text","data":"x"})"},
        {"setPasteboard", R"({"type":"file"})"},
        {"setPasteboard", R"({"type":"text"})"},
        {"setPasteboard", R"({"data":"x"})"},
        {"setPasteboard", nullptr},
        {"setAllPasteboard", "{}"},
        {"getClipboardData", "{}"},
        {"noSuchMethod", "{}"},
    };
    for (const auto& [method, params] : calls) {
        const bool handled = std::get<1>(Run(method, params));
        ASSERT_EQ(Delivered().size(), 1u) << method << " " << (params ? params : "-");
        EXPECT_FALSE(Delivered()[0].isMember("NoNeedUnifyCallBack"));
        callBackToWebPage(false, handled, 7, call.mallcsid, call.callbackid, "", answer);
        EXPECT_EQ(host.CountOf("RenderJsCallback"), 1u) << method;

        Run(method, params, /*isWorker=*/true);
        EXPECT_TRUE(Delivered().empty()) << method;
        EXPECT_FALSE(answer.isMember("NoNeedUnifyCallBack")) << method;
    }
}

// Test what setPasteboard puts on the clipboard and which toast confirms it.
TEST_F(StorageModule, TextIsCopiedAndConfirmedOtherTypesCopyNothing) {
    const struct {
        const char* params;
        std::wstring onClipboard;
        std::string toast;
    } cases[] = {
        {"{\"type\":\"text\",\"data\":\"\xE8\xAE\xA2\xE5\x8D\x95 A-1 \xF0\x9F\x93\xA6\"}",
         L"\u8BA2\u5355 A-1 \U0001F4E6", std::string("1:") + kCopied},  // 订单 A-1 📦
        {R"({"type":"text","data":"x","successMsg":"saved","errorMsg":"no"})", L"x", "1:saved"},
        {R"({"type":"text","data":"","successMsg":""})", L"", "1:"},
        {R"({"type":"Text","data":"x"})", L"kept", ""},
        {R"({"type":"text","data":7})", L"kept", ""},
    };
    for (const auto& c : cases) {
        ASSERT_TRUE(ReplaceClipboard({kKept}));
        EXPECT_EQ(Run("setPasteboard", c.params), std::make_tuple(true, true)) << c.params;
        EXPECT_EQ(ReadClipboardUnicodeText(), c.onClipboard) << c.params;
        EXPECT_EQ(Toast(), c.toast) << c.params;
        // The answer carries no result: the toast is the only report.
        EXPECT_EQ(Delivered().at(0), Json::Value(Json::objectValue)) << c.params;
    }
    const std::pair<const char*, std::string> failures[] = {
        {R"({"type":"text","data":"x"})", std::string("2:") + kNotCopied},
        {R"({"type":"text","data":"x","errorMsg":"try again"})", "2:try again"},
    };
    for (const auto& [params, toast] : failures) {
        ScopedLogCapture log;
        {
            ClipboardHeldElsewhere holder;
            ASSERT_TRUE(holder.Held());
            EXPECT_EQ(Run("setPasteboard", params), std::make_tuple(true, true));
        }
        EXPECT_EQ(Toast(), toast);
        EXPECT_EQ(ReadClipboardUnicodeText(), L"kept");
        const auto lines = log->Matching("Copy unicodetext to clipboard failed, ");
        ASSERT_EQ(lines.size(), 1u);
        EXPECT_EQ(lines[0].function, "CClipBoardHelper::CopyUniCodeTextToClipBoard");
        EXPECT_EQ(lines[0].text.rfind("Copy unicodetext to clipboard failed, OpenClipboard or "
                                      "EmptyClipboard failed, lasterrcode: ",
                                      0),
                  0u);
        EXPECT_EQ(lines[0].text.find(" 0."), std::string::npos) << "the system's error number";
    }
}

// Test that images and whole pages are copied by the host; an image's answer is the host's too.
TEST_F(StorageModule, ImagesAndPagesAreCopiedByTheHost) {
    EXPECT_EQ(Run("setPasteboard", R"({"type":"image","data":"data:image/png;base64,AAA"})"),
              std::make_tuple(true, true));
    EXPECT_EQ(host.CallsOf("CopyImageToClipboard").at(0).args["data"], "data:image/png;base64,AAA");
    EXPECT_TRUE(Delivered().empty());
    EXPECT_EQ(Toast(), "");

    EXPECT_EQ(Run("setAllPasteboard", "{}"), std::make_tuple(true, true));
    EXPECT_EQ(host.CallsOf("SetAllPasteboard").at(0).args["webindex"], 7);
    host.SetResult("SetAllPasteboard", false);
    EXPECT_EQ(Run("setAllPasteboard", "{}"), std::make_tuple(true, false));
    EXPECT_EQ(Delivered().size(), 1u);
}

// Test that reading tells only whether something readable is there.
TEST_F(StorageModule, ReadingTellsOnlyWhetherSomethingIsThere) {
    const std::pair<std::vector<ClipboardData>, bool> cases[] = {
        {{}, false},
        {{{platform::kClipboardFileList, Utf16Bytes(u"C:\\a.txt")}}, true},
        {{kKept}, true},
    };
    for (const auto& [items, readable] : cases) {
        ASSERT_TRUE(ReplaceClipboard(items));
        EXPECT_EQ(Run("getClipboardData", "{}"), std::make_tuple(true, readable));
        EXPECT_EQ(Delivered().at(0), Json::Value(Json::objectValue));
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
