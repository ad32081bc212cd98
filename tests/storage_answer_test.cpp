// Tests of the storage module's own answer path: one answer per render-page
// call, none for worker pages.
#include <gtest/gtest.h>

#include "tests/fakes/bridge_fixture.h"
#include "tests/fakes/capture_sinks.h"

namespace moxh5::test {
namespace {

// Test that an unknown method is answered exactly once, and the unified callback then stays silent.
TEST(StorageAnswer, UnknownMethodIsAnsweredOnceToRenderPages) {
    RecordingHost host;
    ScopedActionInterface installed(&host);
    Json::Value answer;
    EXPECT_EQ(ReadySingleton().Execute("JSStorage", MakeCall("noSuchMethod"), answer),
              std::make_tuple(true, false));
    const auto calls = host.CallsOf("RenderJsCallback");
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].args["callId"], "cb-1");
    EXPECT_EQ(calls[0].args["webindex"], 7);
    // The page saw the answer without the flag; the flag is set afterwards.
    EXPECT_EQ(ParseJson(calls[0].args["data"].asString()),
              ParseJson(R"({"message":"Invalid method.","support":false})"));
    EXPECT_EQ(answer["NoNeedUnifyCallBack"], true);

    callBackToWebPage(false, false, 7, "mall-1|cs-1", "cb-1", "", answer);
    EXPECT_EQ(host.CountOf("RenderJsCallback"), 1u);
}

// Test that a call without "method" is still answered, as a success.
TEST(StorageAnswer, MissingMethodIsAnsweredAndCountsAsHandled) {
    RecordingHost host;
    ScopedActionInterface installed(&host);
    mox_h5_module_data call = MakeCall("x");
    call.payload.removeMember("method");
    Json::Value answer;
    EXPECT_EQ(ReadySingleton().Execute("JSStorage", call, answer), std::make_tuple(true, true));
    EXPECT_EQ(host.CountOf("RenderJsCallback"), 1u);
}

// Test that worker pages get no answer from this module.
TEST(StorageAnswer, WorkerPagesAreNeverAnswered) {
    RecordingHost host;
    ScopedActionInterface installed(&host);
    Json::Value answer;
    ReadySingleton().Execute("JSStorage", MakeCall("noSuchMethod", Json::objectValue, true),
                             answer);
    EXPECT_TRUE(host.Calls().empty());
    EXPECT_FALSE(answer.isMember("NoNeedUnifyCallBack"));
}

// Test that without an action interface the answer says so.
TEST(StorageAnswer, MissingActionInterfaceIsReportedInTheAnswer) {
    ScopedActionInterface none(nullptr);
    ScopedLogCapture log;
    Json::Value answer;
    ReadySingleton().Execute("JSStorage", MakeCall("noSuchMethod"), answer);
    EXPECT_EQ(answer["message"], "Native impl instance is null.");
    EXPECT_TRUE(log->Contains("[MoxH5] Callback is nullptr"));
}

}  // namespace
}  // namespace moxh5::test
