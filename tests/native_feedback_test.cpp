// Tests of the native feedback, version and shielding calls. Feedback reaches
// the host's message centre through the post seam, and on Windows also
// through a real hidden window.
#include <gtest/gtest.h>

#include <memory>

#include "modules/native/H5NativeWorker.h"
#include "tests/fakes/native_case.h"
#include "tests/fakes/platform_fakes.h"
#include "tests/platform/message_window_probe.h"

namespace moxh5::test {
namespace {

constexpr uint32_t kFeedbackMessage = 3214;
constexpr uintptr_t kCentreWindow = 0x4242;

// A host whose current session "s-1" has mall "1001", account "cs-7", buyer "u-5".
struct CurrentSession {
    CurrentSession() {
        host.SetCurrentMallCsId("s-1");
        host.SetMallId("s-1", "1001");
        host.SetCsId("s-1", "cs-7");
        host.SetCurrentUid("s-1", "u-5");
    }
    RecordingHost host;
    ScopedUserCenter users{&host};
};

// Sends feedback; the page is always told nothing, and the call succeeds.
void Feedback(const char* params) {
    Json::Value answer;
    EXPECT_TRUE(RunCall("JSCallNative", MakeCall("FeedBackCommon", ParseJson(params)), answer));
    EXPECT_EQ(Compact(answer), kKeptFlag) << params;
}

// Test which pages count as the current session's: mall exactly, account and buyer when given.
TEST(NativeFeedback, OnlyTheCurrentSessionReachesTheMessageCentre) {
    const struct {
        const char* params;
        bool posted;
        size_t uidAsked;
    } cases[] = {
        {R"({"mallid":"1001"})", true, 0},
        {R"({"mallid":"1001","csid":"cs-7","uid":"u-5"})", true, 1},
        {R"({"mallid":"1002","csid":"cs-7","uid":"u-5"})", false, 0},
        {R"({"mallid":"1001 "})", false, 0},
        {R"({"csid":"cs-7"})", false, 0},
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
        Feedback(c.params);
        EXPECT_EQ(receiver.posts.size(), c.posted ? 1u : 0u);
        EXPECT_EQ(session.host.CallsOf("GetMallId").at(0).args["mallcsid"], "s-1");
        EXPECT_EQ(session.host.CallsOf("GetCsId").at(0).args["mallcsid"], "s-1");
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

}  // namespace
}  // namespace moxh5::test
