// Tests of the module "MMSSocket" through the process-wide manager.
#include <gtest/gtest.h>

#include "modules/socket/H5SocketWorker.h"
#include "tests/fakes/bridge_fixture.h"
#include "tests/fakes/capture_sinks.h"

namespace moxh5::test {
namespace {

// Test that only the exact "send_message" is a chat message, everything else a
// command keyed by its request id, and the refusals with and without a message.
TEST(SocketModule, CommandNamePicksMessageOrCommand) {
    RecordingHost host;
    const struct {
        const char* params;
        bool installHost;
        const char* op;      // null: refused with `message` (or none)
        const char* detail;  // uid, request id or message
    } cases[] = {
        {R"({"cmd":"send_message","uid":"buyer-1","text":"hi"})", true, "SendSocketMessage",
         "buyer-1"},
        {R"({"cmd":"Send_Message","uid":"b","request_id":9007199254740993})", true,
         "SendSocketCommand", "9007199254740993"},
        {R"({"request_id":"12"})", true, "SendSocketCommand", "0"},
        {R"({"cmd":"send_message"})", true, nullptr, nullptr},
        {R"({"cmd":"send_message","uid":3})", true, nullptr, nullptr},
        {R"("send_message")", true, nullptr, "Invalid params."},
        {R"("send_message")", false, nullptr, "Native impl instance is null."},
    };
    for (const auto& c : cases) {
        host.ClearCalls();
        ScopedActionInterface installed(c.installHost ? &host : nullptr);
        ScopedLogCapture log;
        const mox_h5_module_data call = MakeCall("send", ParseJson(c.params));
        Json::Value answer(Json::objectValue);
        EXPECT_EQ(ReadySingleton().Execute("MMSSocket", call, answer),
                  std::make_tuple(true, c.op != nullptr))
            << c.params;
        const auto calls = host.Calls();
        ASSERT_EQ(calls.size(), c.op ? 1u : 0u) << c.params;
        if (!c.op) {
            EXPECT_EQ(answer["message"], c.detail ? Json::Value(c.detail) : Json::Value());
            if (!c.detail) {  // a missing uid is only logged, as a warning
                EXPECT_EQ(log->Matching("[MoxH5] Invalid param. Msg:").at(0).priority, 400);
            }
            continue;
        }
        EXPECT_EQ(calls[0].op, c.op);
        if (calls[0].op == "SendSocketMessage") {
            EXPECT_EQ(calls[0].args["uid"], c.detail);
            EXPECT_EQ(calls[0].args["params"], call.payload["params"]);
        } else {
            EXPECT_EQ(std::to_string(calls[0].args["requestId"].asInt64()), c.detail);
            EXPECT_EQ(calls[0].args["payload"], call.payload);
        }
    }
}

// Test the id readers on their own, and that the host's "no" is the call's result.
TEST(SocketModule, IdReadersAndHostResult) {
    std::string uid;
    EXPECT_TRUE(getMsgUid(ParseJson(R"({"params":{"uid":"u-1"}})"), uid));
    EXPECT_EQ(uid, "u-1");
    EXPECT_FALSE(getMsgUid(ParseJson(R"({"uid":"u-2"})"), uid));
    EXPECT_EQ(getRequestID(ParseJson(R"({"params":{"request_id":-5000000000}})")), -5000000000LL);
    EXPECT_EQ(getRequestID(ParseJson(R"({"request_id":5})")), 0);

    RecordingHost host;
    ScopedActionInterface installed(&host);
    host.SetResult("SendSocketCommand", false);
    Json::Value answer(Json::objectValue);
    EXPECT_EQ(ReadySingleton().Execute("MMSSocket", MakeCall("send"), answer),
              std::make_tuple(true, false));
}

}  // namespace
}  // namespace moxh5::test
