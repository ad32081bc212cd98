// Tests of the module "JSNetwork" through the process-wide manager.
#include <gtest/gtest.h>

#include "modules/network/H5NetworkWorker.h"
#include "tests/fakes/bridge_fixture.h"
#include "tests/fakes/capture_sinks.h"

namespace moxh5::test {
namespace {

std::tuple<bool, bool> RunNetwork(const mox_h5_module_data& call, Json::Value& answer) {
    return ReadySingleton().Execute("JSNetwork", call, answer);
}

// Test that a render page's request goes to the host whole, and that each
// entry point refuses the other page kind without a message.
TEST(NetworkModule, RenderRequestsGoWholeAndPageKindsAreKeptApart) {
    RecordingHost host;
    ScopedActionInterface installed(&host);
    host.SetResult("RequestFromRenderPage", false);  // not consulted
    const mox_h5_module_data call =
        MakeCall("request", ParseJson(R"({"url":"https://a.example"})"));
    Json::Value answer(Json::objectValue);
    EXPECT_EQ(RunNetwork(call, answer), std::make_tuple(true, true));
    const Json::Value args = host.CallsOf("RequestFromRenderPage").at(0).args;
    EXPECT_EQ(args["payload"], call.payload);
    EXPECT_EQ(args["webindex"], 7);
    EXPECT_EQ(args["callbackid"], "cb-1");
    EXPECT_EQ(answer, ParseJson(R"({"NoNeedUnifyCallBack":true})"));

    ScopedLogCapture log;
    for (const auto& [method, isWorker] : {std::pair{"request", true}, {"httpRequest", false}}) {
        Json::Value refused(Json::objectValue);
        EXPECT_EQ(RunNetwork(MakeCall(method, ParseJson(R"({"type":"get"})"), isWorker), refused),
                  std::make_tuple(true, false));
        EXPECT_EQ(refused, Json::Value(Json::objectValue)) << method;
    }
    EXPECT_TRUE(log->Contains("[MoxH5] request_render cannot work on worker"));
    EXPECT_TRUE(log->Contains("[MoxH5] request_worker cannot work on render"));
    EXPECT_EQ(host.Calls().size(), 1u);
}

// Test how "type" picks HttpPost with header lines, HttpGet without, or a refusal.
TEST(NetworkModule, TypePicksPostWithHeadersOrGetWithout) {
    const struct {
        const char* params;
        const char* op;      // null: refused with `result`
        const char* result;  // header lines sent, or the refusal's message
    } cases[] = {
        {R"({"type":"post","url":"u","content":"c","cookie":"k","headers":["A: 1",7,"C: 3"]})",
         "HttpPost", R"(["A: 1","","C: 3"])"},
        {R"({"type":"post","headers":{"A":"1"}})", "HttpPost", "[]"},
        {R"({"type":"get","url":"u","content":"c","cookie":"k","headers":["A: 1"]})", "HttpGet",
         nullptr},
        {R"({"type":"POST"})", nullptr, "Invalid param."},
        {R"({"type":"Get"})", nullptr, "Invalid param."},
        {R"({"url":"u"})", nullptr, "Invalid param."},
        {R"("post")", nullptr, "Invalid params."},
    };
    for (const auto& c : cases) {
        RecordingHost host;
        ScopedActionInterface installed(&host);
        Json::Value answer(Json::objectValue);
        const mox_h5_module_data call = MakeCall("httpRequest", ParseJson(c.params), true, "cb-h");
        EXPECT_EQ(RunNetwork(call, answer), std::make_tuple(true, c.op != nullptr)) << c.params;
        const auto calls = host.Calls();
        ASSERT_EQ(calls.size(), c.op ? 1u : 0u) << c.params;
        if (!c.op) {
            EXPECT_EQ(answer, ParseJson(std::string(R"({"message":")") + c.result + "\"}"));
            continue;
        }
        EXPECT_EQ(answer, ParseJson(R"({"AsynExec":true})"));
        const Json::Value& args = calls[0].args;
        EXPECT_EQ(calls[0].op, c.op);
        EXPECT_EQ(args["kind"], 1);
        EXPECT_EQ(args["callbackid"], "cb-h");
        EXPECT_EQ(args["headers"], c.result ? ParseJson(c.result) : Json::Value()) << c.params;
        for (const char* text : {"url", "content", "cookie"}) {  // absent ones go empty
            EXPECT_EQ(args[text], call.payload["params"][text].asString()) << c.params;
        }
    }
}

// Test the completion path, the free function's arguments and a refusal by the host.
TEST(NetworkModule, HostAnswersLaterOrRefuses) {
    RecordingHost host;
    ScopedActionInterface installed(&host);
    Json::Value answer(Json::objectValue);
    {
        const mox_h5_module_data call =
            MakeCall("httpRequest", ParseJson(R"({"type":"post"})"), true);
        EXPECT_TRUE(H5HttpRequest(42, &host, "extra", &call, answer));
        EXPECT_FALSE(H5HttpRequest(0, nullptr, "", &call, answer));
    }  // the request is gone before the host completes
    EXPECT_EQ(host.CallsOf("HttpPost").at(0).args["extra"], "extra");
    host.CompleteAll(true, ParseJson(R"({"data":{"status":200}})"));
    const auto answered = host.CallsOf("WorkerJsCallback");
    ASSERT_EQ(answered.size(), 1u);
    EXPECT_EQ(ParseJson(answered[0].args["data"].asString()),
              ParseJson(R"({"success":true,"message":"success","data":{"status":200}})"));

    host.SetResult("HttpGet", false);
    Json::Value refused(Json::objectValue);
    EXPECT_EQ(RunNetwork(MakeCall("httpRequest", ParseJson(R"({"type":"get"})"), true), refused),
              std::make_tuple(true, false));
    EXPECT_EQ(refused, Json::Value(Json::objectValue)) << "no AsynExec when refused";
}

}  // namespace
}  // namespace moxh5::test
