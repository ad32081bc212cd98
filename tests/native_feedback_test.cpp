// Tests of the native feedback, version and shielding calls. Feedback reaches
// the host's message centre through the post seam, and on Windows also
// through a real hidden window.
#include <gtest/gtest.h>

#include <memory>

#include "modules/native/H5NativeWorker.h"
#include "moxh5/version.h"
#include "tests/fakes/native_case.h"
#include "tests/fakes/platform_fakes.h"
#include "tests/platform/message_window_probe.h"

namespace moxh5::test {
namespace {

constexpr uint32_t kFeedbackMessage = 3214;
constexpr uintptr_t kCentreWindow = 0x4242;

// The host's current session "s-1": mall "1001", account "cs-7", buyer "u-5".
void ScriptCurrentSession(RecordingHost& host) {
    host.SetCurrentMallCsId("s-1");
    host.SetMallId("s-1", "1001");
    host.SetCsId("s-1", "cs-7");
    host.SetCurrentUid("s-1", "u-5");
}

Json::Value Feedback(const char* params) {
    Json::Value answer;
    EXPECT_TRUE(RunCall("JSCallNative", MakeCall("FeedBackCommon", ParseJson(params)), answer))
        << params;
    EXPECT_EQ(Compact(answer), kKeptFlag) << "the page is told nothing";
    return answer;
}

// Test which pages count as the current session's: mall exactly, account and buyer when given.
TEST(NativeFeedback, OnlyTheCurrentSessionReachesTheMessageCentre) {
    const struct {
        const char* params;
        bool posted;
        size_t uidAsked;
    } cases[] = {
        {R"({"mallid":"1001","msg":"m","type":"t"})", true, 0},
        {R"({"mallid":"1001","csid":"cs-7","uid":"u-5"})", true, 1},
        {R"({"mallid":"1001","csid":"","uid":""})", true, 0},
        {R"({"mallid":"1002","csid":"cs-7","uid":"u-5"})", false, 0},
        {R"({"mallid":"1001 "})", false, 0},
        {R"({"mallid":""})", false, 0},
        {R"({"csid":"cs-7"})", false, 0},
        {R"({"mallid":1001})", false, 0},
        {R"({"mallid":"1001","csid":"cs-8"})", false, 0},
        {R"({"mallid":"1001","uid":"u-6"})", false, 1},
    };
    RecordingHost host;
    ScriptCurrentSession(host);
    ScopedUserCenter users(&host);
    ScopedMsgCenter centre(kCentreWindow);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.params);
        host.ClearCalls();
        ScopedPostReceiver receiver;
        ScopedLogCapture log;
        Feedback(c.params);
        EXPECT_EQ(receiver.Posts().size(), c.posted ? 1u : 0u);
        // Both identifiers are asked of the current session, the buyer only when given.
        EXPECT_EQ(host.CountOf("GetCurrentMallCsId"), 1u);
        for (const char* op : {"GetMallId", "GetCsId"}) {
            ASSERT_EQ(host.CountOf(op), 1u) << op;
            EXPECT_EQ(host.CallsOf(op)[0].args["mallcsid"], "s-1") << op;
        }
        EXPECT_EQ(host.CountOf("GetCurrentUid"), c.uidAsked);
        const auto notCurrent = log->Matching("Not Cur Session.");
        EXPECT_EQ(notCurrent.size(), c.posted ? 0u : 1u);
        if (!notCurrent.empty()) {
            EXPECT_EQ(notCurrent[0].text, "Not Cur Session.");
            EXPECT_EQ(notCurrent[0].priority, 400);
        }
    }
}

// Test what the window receives: message 3214, the texts in UTF-16, an empty text as a terminator.
TEST(NativeFeedback, PostsBothTextsToTheCentreWindow) {
    RecordingHost host;
    ScriptCurrentSession(host);
    ScopedUserCenter users(&host);
    ScopedMsgCenter centre(kCentreWindow);
    ScopedPostReceiver receiver;
    Feedback(R"({"mallid":"1001","msg":"\u597d\u8bc4 \ud83d\ude00","type":"praise"})");
    Feedback(R"({"mallid":"1001","type":"empty"})");
    ASSERT_EQ(receiver.Posts().size(), 2u);
    const ReceivedPost& first = receiver.Posts()[0];
    EXPECT_EQ(first.window, kCentreWindow);
    EXPECT_EQ(first.message, kFeedbackMessage);
    EXPECT_EQ(platform::WideToUtf8(first.wParamText), "\xE5\xA5\xBD\xE8\xAF\x84 \xF0\x9F\x98\x80");
    EXPECT_EQ(first.lParamText, L"praise");
    EXPECT_EQ(receiver.Posts()[1].wParamText, L"");
    EXPECT_EQ(receiver.Posts()[1].lParamText, L"empty");
}

// Test that nothing is posted, and the sender keeps and frees the buffers, when no window takes
// them.
TEST(NativeFeedback, WithoutACentreOrAWillingWindowNothingIsHandedOver) {
    RecordingHost host;
    ScriptCurrentSession(host);
    ScopedUserCenter users(&host);
    {
        ScopedPostReceiver receiver;
        Feedback(R"({"mallid":"1001","msg":"m"})");  // no centre published
        ScopedMsgCenter noWindow(0);
        Feedback(R"({"mallid":"1001","msg":"m"})");
        EXPECT_TRUE(receiver.Posts().empty());
        EXPECT_EQ(receiver.Refused(), 0u) << "not even tried";
    }
    ScopedMsgCenter centre(kCentreWindow);
    ScopedPostReceiver refusing(false);
    ScopedLogCapture log;
    Feedback(R"({"mallid":"1001","msg":"m"})");  // leak checkers see the buffers freed
    EXPECT_EQ(refusing.Refused(), 1u);
    EXPECT_TRUE(log->Contains("[MoxH5] Post feedback to msg center failed, refused"));
}

// Test the refusals: no user centre, malformed params, no request.
TEST(NativeFeedback, RefusesWithoutUserCentreOrParams) {
    ScopedMsgCenter centre(kCentreWindow);
    ScopedPostReceiver receiver;
    ScopedLogCapture log;
    Json::Value answer;
    // The test manager holds no user centre unless a test hands it one.
    EXPECT_FALSE(RunCall("JSCallNative", MakeCall("FeedBackCommon", ParseJson(R"({"mallid":"1"})")),
                         answer));
    EXPECT_EQ(Compact(answer), kKeptFlag);
    EXPECT_TRUE(log->Contains("[MoxH5] false in H5NativeWorker::feedBack"));
    EXPECT_TRUE(log->Contains("[MoxH5] Web req feedback content: {"));

    RecordingHost host;
    ScriptCurrentSession(host);
    ScopedUserCenter users(&host);
    for (const char* payload : {R"({})", R"({"params":"mallid"})"}) {
        ExpectNativeCase(
            {"FeedBackCommon", payload, false, kFlagAndInvalidParams, nullptr, nullptr, kNoHost});
    }
    Json::Value untouched;
    EXPECT_FALSE(H5NativeWorker::feedBack(nullptr, untouched));
    EXPECT_TRUE(untouched.isNull());
    EXPECT_TRUE(receiver.Posts().empty());
    EXPECT_EQ(host.CountOf("GetCurrentMallCsId"), 0u);
}

// Test the real window: the texts arrive in its queue and the receiver frees them.
TEST(NativeFeedback, RealMessageWindowReceivesTheFeedback) {
    MessageWindowProbe window;
    RecordingHost host;
    ScriptCurrentSession(host);
    ScopedUserCenter users(&host);
    ScopedLogCapture log;
    if (!window.Handle()) {
        // No windows here: the post fails, says why, and the buffers are freed.
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
    EXPECT_FALSE(log->Contains("failed"));
}

const NativeCase kCases[] = {
    // The library's own version, whatever is asked, in both contexts, without a host.
    {"getWorkbenchVersion", R"({})", true, R"({"data":{"WorkbenchVersion":"3.4.8.3"}})", nullptr,
     nullptr, kNoHost},
    {"getWorkbenchVersion", R"({"params":{"version":"9"}})", true,
     R"({"data":{"WorkbenchVersion":"3.4.8.3"}})", nullptr, nullptr, kFromWorker},
    // Shielding: the host gets the buyer and all of "params"; without a buyer, nothing.
    {"updateShielding", R"({"params":{"currentUid":"u-5","shield":true}})", true, kKeptFlag,
     "UpdateShielding", R"({"currentUid":"u-5","params":{"currentUid":"u-5","shield":true}})"},
    {"updateShielding", R"({"params":{"shield":true}})", true, kKeptFlag, nullptr, nullptr},
    {"updateShielding", R"({"params":{"currentUid":42}})", true, kKeptFlag, nullptr, nullptr},
    {"updateShielding", R"({"params":{}})", false, kFlagAndNoHost, nullptr, nullptr, kNoHost},
    {"updateShielding", R"({"params":7})", false, kFlagAndInvalidParams, nullptr, nullptr},
};

// Test each row: the fixed version answer and the shielding pass-through.
TEST(NativeFeedback, VersionAndShieldingAnswerAsListed) {
    for (const NativeCase& c : kCases) ExpectNativeCase(c);
    EXPECT_STREQ(MOXH5_VERSION_STRING, "3.4.8.3") << "the one version number of the project";
}

}  // namespace
}  // namespace moxh5::test
