// Native calls that reach the OS around the host: the local files, for real,
// in a temporary directory; and feedback, which reaches the host's message
// centre through the post seam (on Windows also through a real hidden window)
// after reading the centre's published address.
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>

#include "MsgCenter.h"
#include "tests/fakes/native_case.h"
#include "tests/fakes/platform_fakes.h"
#include "tests/platform/message_window_probe.h"

namespace moxh5::test {
namespace {

// Test how the text is read: decimal, at most 49 characters, nothing that is not a number.
TEST(MsgCenter, ReadsTheFirst49CharactersAsADecimalNumber) {
    const std::pair<std::string, uintptr_t> cases[] = {
        {"4096 and more", 4096},
        {std::string(45, '0') + "4096" + "1234", 4096},  // digits after the 49th are not read
        {"0x1000", 0},
        {"-4096", 0},
        {"address", 0},
        {"", 0},
        {"99999999999999999999999", 0},  // does not fit a pointer
    };
    for (const auto& [text, address] : cases) {
        SetTestEnv(ScopedMsgCenter::Name(), text);  // "" unsets it on Windows
        EXPECT_EQ(reinterpret_cast<uintptr_t>(GetMsgCenterInstance()), address) << text;
    }
    UnsetTestEnv(ScopedMsgCenter::Name());
    EXPECT_EQ(GetMsgCenterInstance(), nullptr) << "not published";
}

constexpr uint32_t kFeedbackMessage = 3214;
constexpr uintptr_t kCentreWindow = 0x4242;

// A host whose current session is the one MakeCall's pages belong to, with mall "1001", account
// "cs-7", buyer "u-5".
constexpr char kSession[] = "mall-1|cs-1";
struct CurrentSession {
    CurrentSession() {
        host.SetCurrentMallCsId(kSession);
        host.SetMallId(kSession, "1001");
        host.SetCsId(kSession, "cs-7");
        host.SetCurrentUid(kSession, "u-5");
    }
    RecordingHost host;
    ScopedUserCenter users{&host};
};

// Sends feedback; the page is always told nothing, and the call succeeds.
void Feedback(const char* params, const char* requestSession = kSession) {
    Json::Value answer;
    mox_h5_module_data call = MakeCall("FeedBackCommon", ParseJson(params));
    call.mallcsid = requestSession;
    EXPECT_TRUE(RunCall("JSCallNative", call, answer));
    EXPECT_EQ(Compact(answer), kKeptFlag) << params;
}

// Test which pages count as the current session's: the request's own session, then mall exactly,
// account and buyer when given.
TEST(NativeFeedback, OnlyTheCurrentSessionReachesTheMessageCentre) {
    const struct {
        const char* params;
        bool posted;
        size_t uidAsked;
        const char* requestSession = kSession;
    } cases[] = {
        {R"({"mallid":"1001"})", true, 0},
        {R"({"mallid":"1001","csid":"cs-7","uid":"u-5"})", false, 0, "mall-2|cs-1"},
        {R"({"mallid":"1001","csid":"cs-7","uid":"u-5"})", true, 1},
        {R"({"mallid":"1001 "})", false, 0},
        {R"({"mallid":"1001","csid":"cs-8"})", false, 0},
        {R"({"mallid":"1001","uid":"u-6"})", false, 1},
    };
    CurrentSession session;
    ScopedMsgCenter centre(kCentreWindow);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.params);
        session.host.ClearCalls();
        ScopedPostReceiver receiver;
        ScopedLogCapture log;
        Feedback(c.params, c.requestSession);
        EXPECT_EQ(receiver.posts.size(), c.posted ? 1u : 0u);
        EXPECT_EQ(session.host.CountOf("GetCurrentUid"), c.uidAsked);
        const auto notCurrent = log->Matching("Not Cur Session.");
        ASSERT_EQ(notCurrent.size(), c.posted ? 0u : 1u);
        for (const MoxLogRecord& line : notCurrent) {
            EXPECT_EQ(line.text, "Not Cur Session.");
            EXPECT_EQ(line.priority, 400);
        }
    }
}

// Test what the window receives (3214 and both texts in UTF-16), and that nothing is handed over
// without a centre or to a window that refuses (leak checkers see the sender free the buffers).
TEST(NativeFeedback, PostsBothTextsOnlyToAWillingCentreWindow) {
    CurrentSession session;
    {
        ScopedPostReceiver receiver;
        Feedback(R"({"mallid":"1001","msg":"m"})");  // no centre published
        ScopedMsgCenter centre(kCentreWindow);
        Feedback(R"({"mallid":"1001","msg":"\u597d\u8bc4 \ud83d\ude00","type":"praise"})");
        Feedback(R"({"mallid":"1001"})");
        ASSERT_EQ(receiver.posts.size(), 2u);
        EXPECT_EQ(receiver.posts[0].window, kCentreWindow);
        EXPECT_EQ(receiver.posts[0].message, kFeedbackMessage);
        EXPECT_EQ(receiver.posts[0].msg, L"\u597d\u8bc4 \U0001F600");
        EXPECT_EQ(receiver.posts[0].type, L"praise");
        EXPECT_EQ(receiver.posts[1].msg, L"") << "an empty text is a lone terminator";
    }
    ScopedMsgCenter centre(kCentreWindow);
    ScopedPostReceiver refusing(false);
    ScopedLogCapture log;
    Feedback(R"({"mallid":"1001","msg":"m"})");
    EXPECT_EQ(refusing.refused, 1u);
    EXPECT_TRUE(log->Contains("[MoxH5] Post feedback to msg center failed, refused"));
}

// Test the real window: the texts arrive in its queue and the receiver frees them.
TEST(NativeFeedback, RealMessageWindowReceivesTheFeedback) {
    MessageWindowProbe window;
    CurrentSession session;
    ScopedLogCapture log;
    if (!window.Handle()) {
        // No windows here: the post fails and says why; the buffers are freed.
        ScopedMsgCenter centre(kCentreWindow);
        Feedback(R"({"mallid":"1001","msg":"m"})");
        EXPECT_TRUE(log->Contains("failed, no window system"));
        GTEST_SKIP() << "no message windows on this platform";
    }
    ScopedMsgCenter centre(window.Handle());
    Feedback(R"({"mallid":"1001","csid":"cs-7","msg":"\u5dee\u8bc4","type":"\u6295\u8bc9"})");
    const std::optional<ProbeMessage> received = window.Take(kFeedbackMessage);
    ASSERT_TRUE(received.has_value());
    std::unique_ptr<wchar_t[]> msg(reinterpret_cast<wchar_t*>(received->wParam));
    std::unique_ptr<wchar_t[]> type(reinterpret_cast<wchar_t*>(received->lParam));
    EXPECT_EQ(std::wstring(msg.get()), L"\u5dee\u8bc4");
    EXPECT_EQ(std::wstring(type.get()), L"\u6295\u8bc9");
    EXPECT_FALSE(window.Take(kFeedbackMessage).has_value()) << "posted once";
}

// Test that a file with a Chinese name is found, sized and removed, for real, and then is gone.
TEST(NativeFiles, ChineseNamedFileIsFoundSizedAndRemoved) {
    ScopedTempDir dir;
    const std::string name = "\xE6\x8A\xA5\xE5\x91\x8A-1.txt";  // 报告-1.txt
    Json::Value params;
    params["filePath"] = dir.WriteFile(name, "\xE4\xBD\xA0\xE5\xA5\xBD");  // 你好: 6 bytes
    params["filePathName"] = params["filePath"];
    RecordingHost host;
    ScopedActionInterface installed(&host);
    ScopedLogCapture log;
    const auto run = [&params](const char* method) {
        Json::Value answer;
        const bool result = RunCall("JSCallNative", MakeCall(method, params), answer);
        return Compact(answer) + (result ? " true" : " false");
    };
    const auto found = [&host] {
        return host.CallsOf("RenderJsCallback").back().args["data"].asString();
    };

    EXPECT_EQ(run("checkFileExist"), std::string(kKeptFlag) + " true");
    EXPECT_EQ(ParseJson(found()), ParseJson(R"({"finded":true})"));
    EXPECT_TRUE(log->Contains("[MoxH5] Find file[" + params["filePath"].asString() + "]"));
    EXPECT_EQ(run("getFileInfo"),
              R"({"data":{"filePath":)" + Compact(params["filePath"]) + R"(,"size":6}} true)");
    EXPECT_EQ(run("removeSavedFile"), "{} true");
    EXPECT_FALSE(std::filesystem::exists(dir.Path(name)));
    // An empty file is sized 0 (a directory is neither sized nor removed: see the transcript).
    params["filePath"] = dir.WriteFile("empty", "");
    EXPECT_EQ(run("getFileInfo"),
              R"({"data":{"filePath":)" + Compact(params["filePath"]) + R"(,"size":0}} true)");
}

}  // namespace
}  // namespace moxh5::test
