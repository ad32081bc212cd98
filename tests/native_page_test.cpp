// Tests of the native page life-cycle and message-list actions.
#include <gtest/gtest.h>

#include "tests/fakes/bridge_fixture.h"
#include "tests/fakes/capture_sinks.h"

namespace moxh5::test {
namespace {

// Test that a loaded worker page is announced with its page name, empty when absent.
TEST(NativePage, WorkerOnLoadPassesThePageName) {
    const struct {
        const char* params;
        const char* pageName;
    } cases[] = {
        {R"({"pageName":"chat-worker"})", "chat-worker"},
        {R"({"pageName":"\u5de5\u4f5c"})", "\xE5\xB7\xA5\xE4\xBD\x9C"},
        {R"({})", ""},
        {R"({"pageName":12})", ""},
    };
    for (const auto& c : cases) {
        RecordingHost host;
        ScopedActionInterface installed(&host);
        ScopedLogCapture log;
        const mox_h5_module_data call = MakeCall("workerOnLoad", ParseJson(c.params), true);
        Json::Value answer;
        EXPECT_TRUE(RunCall("JSCallNative", call, answer)) << c.params;
        EXPECT_EQ(answer, ParseJson(R"({"NoNeedUnifyCallBack":true})"));
        const auto loaded = host.CallsOf("WorkerOnLoad");
        ASSERT_EQ(loaded.size(), 1u);
        EXPECT_EQ(loaded[0].args["pageName"], c.pageName) << c.params;
        EXPECT_EQ(loaded[0].args["reserved"], 0u);
        EXPECT_EQ(loaded[0].args["request"], DescribeRequest(&call));
        EXPECT_TRUE(log->Contains("[MoxH5] WorkerLoaded content: {"));
    }
}

// Test that a worker page without object params is refused before the host hears of it.
TEST(NativePage, WorkerOnLoadNeedsObjectParams) {
    RecordingHost host;
    ScopedActionInterface installed(&host);
    for (const char* payload :
         {R"({"method":"workerOnLoad"})", R"({"method":"workerOnLoad","params":["a"]})"}) {
        ScopedLogCapture log;
        mox_h5_module_data call = MakeCall("workerOnLoad", Json::objectValue, true);
        call.payload = ParseJson(payload);
        Json::Value answer;
        EXPECT_FALSE(RunCall("JSCallNative", call, answer)) << payload;
        EXPECT_EQ(answer, ParseJson(R"({"NoNeedUnifyCallBack":true,"message":"Invalid params."})"));
        EXPECT_TRUE(log->Contains("[MoxH5] Invalid params {")) << payload;
    }
    EXPECT_TRUE(host.Calls().empty());
}

// Test that a message-list refresh hands over the whole call, params or not, in both contexts.
TEST(NativePage, UpdateMsgHandsOverTheWholeCall) {
    for (const bool isWorker : {false, true}) {
        RecordingHost host;
        host.SetResult("UpdateMsg", isWorker);
        ScopedActionInterface installed(&host);
        mox_h5_module_data call = MakeCall("updateMsg", Json::objectValue, isWorker);
        call.payload = ParseJson(R"({"method":"updateMsg","msgId":"m-1"})");
        Json::Value answer;
        EXPECT_EQ(RunCall("JSCallNative", call, answer), isWorker) << "the host's result";
        const auto updates = host.CallsOf("UpdateMsg");
        ASSERT_EQ(updates.size(), 1u);
        EXPECT_EQ(updates[0].args["payload"], call.payload);
        EXPECT_EQ(updates[0].args["request"], DescribeRequest(&call));
    }
}

// Test that locating a message needs object params and hands over exactly those.
TEST(NativePage, LocateMessageNeedsObjectParams) {
    const struct {
        const char* params;  // null: no "params" member
        bool located;
    } cases[] = {
        {R"({"msgId":"m-9","ts":1})", true}, {R"({})", true},  {R"("m-9")", false},
        {R"([{"msgId":"m-9"}])", false},     {nullptr, false},
    };
    for (const bool isWorker : {false, true}) {
        for (const auto& c : cases) {
            SCOPED_TRACE(c.params ? c.params : "no params");
            RecordingHost host;
            ScopedActionInterface installed(&host);
            ScopedLogCapture log;
            ScopedReportCapture reports;
            mox_h5_module_data call = MakeCall("locateMessage", Json::objectValue, isWorker);
            if (c.params) {
                call.payload["params"] = ParseJson(c.params);
            } else {
                call.payload.removeMember("params");
            }
            Json::Value answer;
            EXPECT_EQ(RunCall("JSCallNative", call, answer), c.located);
            const auto located = host.CallsOf("LocateMessage");
            if (c.located) {
                ASSERT_EQ(located.size(), 1u);
                EXPECT_EQ(located[0].args["params"], call.payload["params"]);
                EXPECT_EQ(answer, ParseJson(R"({"NoNeedUnifyCallBack":true})"));
            } else {
                EXPECT_TRUE(located.empty());
                EXPECT_EQ(answer,
                          ParseJson(R"({"NoNeedUnifyCallBack":true,"message":"Invalid param."})"));
                EXPECT_TRUE(log->Records().empty()) << "refused without a log line";
            }
        }
    }
}

// Test that the life-cycle actions report a missing action interface.
TEST(NativePage, MissingActionInterfaceIsReported) {
    ScopedActionInterface none(nullptr);
    for (const char* method : {"workerOnLoad", "updateMsg", "locateMessage"}) {
        ScopedLogCapture log;
        Json::Value answer;
        EXPECT_FALSE(RunCall("JSCallNative", MakeCall(method, Json::objectValue, true), answer))
            << method;
        EXPECT_EQ(
            answer,
            ParseJson(R"({"NoNeedUnifyCallBack":true,"message":"Native impl instance is null."})"))
            << method;
        EXPECT_FALSE(log->Contains("WorkerLoaded")) << "checked before the trace";
    }
}

}  // namespace
}  // namespace moxh5::test
