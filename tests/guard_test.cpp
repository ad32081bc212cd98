// Tests of the shared handler checks.
#include "core/detail/guard.h"

#include <gtest/gtest.h>

#include <new>

#include "tests/fakes/bridge_fixture.h"
#include "tests/fakes/capture_sinks.h"

namespace moxh5::test {
namespace {

const detail::CallSite kSite{"H5NativeWorker.cpp", 20, "H5NativeWorker::handler"};

// Test which failure each check reports, in the order the checks run.
TEST(HandlerGuard, EachCheckAnswersWithItsOwnTextInOrder) {
    RecordingHost host;
    const struct {
        const char* name;
        bool haveRequest;
        bool haveHost;
        const char* payload;
        const char* answer;  // after the checks
        const char* logLine;
    } cases[] = {
        {"no request", false, true, "{}", "{}", "[MoxH5] false in H5NativeWorker::handler 20"},
        {"no host", true, false, "[]", R"({"message":"Native impl instance is null."})",
         "[MoxH5] Callback is nullptr"},
        {"params missing", true, true, R"({"method":"m"})", R"({"message":"Invalid params."})",
         "[MoxH5] Invalid params {"},
        {"params a string", true, true, R"({"params":"x"})", R"({"message":"Invalid params."})",
         "[MoxH5] Invalid params {"},
        {"payload an array", true, true, R"([1])", R"({"message":"Invalid params."})",
         "[MoxH5] Invalid params ["},
        {"payload null", true, true, "null", R"({"message":"Invalid params."})",
         "[MoxH5] Invalid params "},
        {"all good", true, true, R"({"params":{"a":1}})", "{}", nullptr},
    };
    for (const auto& c : cases) {
        ScopedActionInterface installed(c.haveHost ? &host : nullptr);
        ScopedLogCapture log;
        mox_h5_module_data call = MakeCall("m");
        call.payload = ParseJson(c.payload);
        Json::Value answer(Json::objectValue);
        const detail::CheckedCall checked =
            detail::RequireCall(c.haveRequest ? &call : nullptr, answer, kSite);
        EXPECT_EQ(static_cast<bool>(checked), c.logLine == nullptr) << c.name;
        EXPECT_EQ(answer, ParseJson(c.answer)) << c.name;
        if (c.logLine) {
            EXPECT_TRUE(log->Contains(c.logLine)) << c.name;
        } else {
            EXPECT_EQ(checked.params, &call.payload["params"]) << "params are read in place";
            EXPECT_TRUE(log->Records().empty());
        }
    }
}

Json::Value ThrowingCopy(const Json::Value&) { throw std::bad_alloc(); }

// Test that a failing copy is logged, reported once and yields null.
TEST(HandlerGuard, FailedCopyIsLoggedReportedAndNull) {
    ScopedLogCapture log;
    ScopedReportCapture reports;
    const Json::Value source = ParseJson(R"({"replyMessage":{"content":"hi"}})");
    EXPECT_EQ(detail::GuardedCopy(source, "sendFaseReply"), source);
    EXPECT_TRUE(reports->Reports().empty());

    EXPECT_TRUE(detail::GuardedCopyUsing(source, "sendFaseReply", ThrowingCopy).isNull());
    EXPECT_TRUE(log->Contains("refine_json_wrong, caller: sendFaseReply"));
    ASSERT_EQ(reports->Reports().size(), 1u);
    const WorkbenchReportRecord r = reports->Reports()[0];
    EXPECT_EQ(r.id, 70332);
    EXPECT_EQ(r.tags, (std::map<std::string, std::string>{{"kv_metric", "refine_json_wrong"},
                                                          {"caller", "sendFaseReply"}}));
    EXPECT_EQ(r.counters, (std::map<std::string, int64_t>{{"kv_count", 1}}));
}

}  // namespace
}  // namespace moxh5::test
