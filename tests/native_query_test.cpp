// Tests of the native queries the host answers itself under the page's call id.
#include <gtest/gtest.h>

#include "tests/fakes/bridge_fixture.h"
#include "tests/fakes/capture_sinks.h"

namespace moxh5::test {
namespace {

// The three queries, and the message-list selection that reads "callID" the same way.
const struct {
    const char* method;
    const char* op;
} kQueries[] = {
    {"getMallInfo", "GetMallInfo"},
    {"getTesselActions", "GetTesselActions"},
    {"getCurrentCustomerInfo", "GetCurrentCustomerInfo"},
    {"logisticOrderSelect", "LogisticOrderSelect"},
};

// Test that the host gets the request, its web index and the top-level "callID", whatever else the
// call holds.
TEST(NativeQuery, HostGetsRequestWebIndexAndTopLevelCallId) {
    const struct {
        const char* payload;  // "method" is added
        int callId;
    } cases[] = {
        {R"({"callID":42,"params":{}})", 42},
        {R"({"callID":-3})", -3},                     // no "params" at all
        {R"({"params":{"callID":42}})", 0},           // not at the top level
        {R"({"callID":"42","params":{}})", 0},        // not an integer
        {R"({"callID":4294967296,"params":{}})", 0},  // out of range
        {R"({"callID":7,"params":"not an object"})", 7},
    };
    for (const auto& q : kQueries) {
        for (const auto& c : cases) {
            SCOPED_TRACE(std::string(q.method) + " " + c.payload);
            RecordingHost host;
            ScopedActionInterface installed(&host);
            mox_h5_module_data call = MakeCall(q.method);
            call.payload = ParseJson(c.payload);
            call.payload["method"] = q.method;
            Json::Value answer;
            EXPECT_TRUE(RunCall("JSCallNative", call, answer));
            EXPECT_EQ(answer, ParseJson(R"({"NoNeedUnifyCallBack":true})"));
            const auto asked = host.CallsOf(q.op);
            ASSERT_EQ(asked.size(), 1u);
            EXPECT_EQ(asked[0].args["request"], DescribeRequest(&call));
            EXPECT_EQ(asked[0].args["webindex"], 7);
            EXPECT_EQ(asked[0].args["callId"], c.callId);
            if (asked[0].args.isMember("payload")) {
                EXPECT_EQ(asked[0].args["payload"], call.payload);
            }
        }
    }
}

// Test that the host's refusal is the result, and that a missing action interface is reported.
TEST(NativeQuery, HostRefusalAndMissingInterface) {
    for (const auto& q : kQueries) {
        RecordingHost host;
        host.SetResult(q.op, false);
        {
            ScopedActionInterface installed(&host);
            Json::Value answer;
            EXPECT_FALSE(RunCall("JSCallNative", MakeCall(q.method), answer)) << q.method;
            EXPECT_EQ(answer, ParseJson(R"({"NoNeedUnifyCallBack":true})")) << q.method;
        }
        ScopedActionInterface none(nullptr);
        ScopedLogCapture log;
        Json::Value answer;
        EXPECT_FALSE(RunCall("JSCallNative", MakeCall(q.method), answer)) << q.method;
        EXPECT_EQ(answer["message"], "Native impl instance is null.") << q.method;
        EXPECT_TRUE(log->Contains("[MoxH5] Callback is nullptr")) << q.method;
    }
}

}  // namespace
}  // namespace moxh5::test
