// Tests of the dispatch and the handler checks shared by the workers, driven
// through test tables, and of the seven workers and their adapters as built.
#include "core/dispatch/dispatch.h"

#include <gtest/gtest.h>

#include <new>

#include "core/dispatch/adapters.h"
#include "core/dispatch/guard.h"
#include "modules/module_adapters.h"
#include "tests/fakes/bridge_fixture.h"
#include "tests/fakes/capture_sinks.h"

namespace moxh5::test {
namespace {

using detail::ContextMethodMap;
using detail::PlainDispatchRules;
using detail::PlainHandler;
using detail::PlainMethodMap;

const detail::CallSite kSite{"TestWorker.cpp", 10, "TestWorker::Execute"};

// A handler that records that it ran and succeeds.
PlainHandler Marking(const std::string& mark) {
    return [mark](const mox_h5_module_data*, Json::Value& answer) {
        answer["ran"] = mark;
        return true;
    };
}

constexpr char kInvalidMethod[] = R"({"message":"Invalid method.","support":false})";

// Test the plain dispatch: exact names, unknown-method answer and log rules.
TEST(PlainDispatch, RunsTheNamedHandlerOrRefusesTheMethod) {
    PlainMethodMap methods{{"canIUse", Marking("canIUse")}, {"empty", PlainHandler()}};
    const struct {
        const char* method;
        bool logUnknown;
        bool expected;
        const char* answer;
        bool logged;
    } cases[] = {
        {"canIUse", false, true, R"({"ran":"canIUse"})", false},
        {"CANIUSE", false, false, kInvalidMethod, false},
        {"CANIUSE", true, false, kInvalidMethod, true},
        {"empty", true, false, kInvalidMethod, true},  // an empty handler counts as unknown
    };
    for (const auto& c : cases) {
        ScopedLogCapture log;
        Json::Value answer;
        const mox_h5_module_data call = MakeCall(c.method);
        PlainDispatchRules rules;
        rules.logUnknownMethod = c.logUnknown;
        EXPECT_EQ(detail::DispatchPlain("JSTest", methods, &call, answer, kSite, rules), c.expected)
            << c.method;
        EXPECT_EQ(answer, ParseJson(c.answer)) << c.method;
        EXPECT_EQ(log->Contains(std::string("[MoxH5] Failed to find method ") + c.method), c.logged)
            << c.method;
    }
}

// Test that a call without a usable request or "method" runs no handler in any of the three
// dispatches: the plain and the context one answer nothing and fail; the completion one
// completes once and succeeds, so that the page still hears back.
TEST(Dispatch, NullRequestOrMissingMethodRunsNoHandler) {
    PlainMethodMap plain{{"a", Marking("a")}};
    ContextMethodMap byContext{{"a", {{Marking("a"), Marking("a")}}}};
    detail::CompletionMethodMap withCompletion{
        {"a", [](const mox_h5_module_data* d, const std::function<bool()>&, Json::Value& a) {
             return Marking("a")(d, a);
         }}};
    mox_h5_module_data call = MakeCall("a");
    const Json::Value payloads[] = {ParseJson(R"({"params":{}})"), ParseJson(R"({"method":42})"),
                                    Json::Value("a")};
    for (const Json::Value& payload : payloads) {
        call.payload = payload;
        for (const mox_h5_module_data* data : {&call, static_cast<mox_h5_module_data*>(nullptr)}) {
            SCOPED_TRACE(Compact(payload) + (data ? "" : " null request"));
            ScopedLogCapture log;
            Json::Value answer;
            EXPECT_FALSE(detail::DispatchPlain("JSTest", plain, data, answer, kSite, {}));
            EXPECT_FALSE(detail::DispatchByContext("JSTest", byContext, data, answer, kSite));
            EXPECT_TRUE(answer.isNull());
            EXPECT_EQ(log->Matching("[MoxH5] false in TestWorker::Execute 10").size(), 2u);
            if (!data) continue;  // the completion dispatch takes no null request
            int completed = 0;
            EXPECT_TRUE(detail::DispatchWithCompletion(
                "JSTest", withCompletion, data, [&completed] { return ++completed > 0; }, answer,
                kSite));
            EXPECT_EQ(completed, 1);
            EXPECT_TRUE(answer.isNull());
        }
    }
}

// Test that the usage report is sent before the handler runs, also for a failing handler.
TEST(ContextDispatch, ReportsBeforeTheHandlerRuns) {
    ScopedReportCapture reports;
    ContextMethodMap methods;
    CaptureReportSink* sink = reports.operator->();
    methods["failing"].slots[0] = [sink](const mox_h5_module_data*, Json::Value& answer) {
        answer["reportsSeen"] = static_cast<int>(sink->Reports().size());
        return false;
    };
    Json::Value answer;
    const mox_h5_module_data call = MakeCall("failing");
    EXPECT_FALSE(detail::DispatchByContext("JSTest", methods, &call, answer, kSite));
    EXPECT_EQ(answer, ParseJson(R"({"NoNeedUnifyCallBack":true,"reportsSeen":1})"));
    EXPECT_EQ(reports->Reports().size(), 1u);
}

using AdapterSet = mox_source_info_t (*)();

// Test every module's adapters and worker as built: null guards, empty method, and the worker
// reference given back (each name is called in its module's transcript).
TEST(ModuleAdapters, EveryModuleGuardsNullsAndKnowsNoEmptyMethod) {
    const std::pair<AdapterSet, const char*> modules[] = {
        {h5_Basic_source_info, "Basic"},     {h5_Device_source_info, "Device"},
        {h5_Network_source_info, "Network"}, {h5_Photo_source_info, "Photo"},
        {h5_Socket_source_info, "Socket"},   {h5_Storage_source_info, "Storage"},
        {h5_Native_source_info, "Native"},
    };
    for (const auto& [adapters, adapter] : modules) {
        ScopedLogCapture log;
        const mox_source_info_t info = adapters();
        const std::shared_ptr<IModuleWorker> worker = info.create_fn();
        ASSERT_TRUE(worker) << adapter;

        Json::Value answer;
        EXPECT_FALSE(info.execute_fn(worker, nullptr, answer)) << adapter;
        EXPECT_FALSE(info.execute_fn(nullptr, nullptr, answer)) << adapter;
        EXPECT_TRUE(answer.isNull()) << adapter;
        EXPECT_FALSE(info.exist_fn(nullptr, "canIUse")) << adapter;
        EXPECT_FALSE(info.exist_fn(worker, "")) << adapter;
        const std::string prefix = std::string("[MoxH5] false in h5_") + adapter;
        EXPECT_EQ(log->Matching(prefix + "_execute").size(), 2u) << adapter;
        EXPECT_EQ(log->Matching(prefix + "_exist").size(), 1u) << adapter;
        EXPECT_EQ(worker.use_count(), 1) << "adapters release their worker reference";
    }
}

const detail::CallSite kHandlerSite{"H5NativeWorker.cpp", 20, "H5NativeWorker::handler"};

// Test which failure each check reports, in the order the checks run.
TEST(HandlerGuard, EachCheckAnswersWithItsOwnTextInOrder) {
    RecordingHost host;
    // (Without a request: NativeTable.EachNameIsServedInItsContextsOnly, handler by handler.)
    const struct {
        const char* name;
        bool haveHost;
        const char* payload;
        const char* answer;  // after the checks
        const char* logLine;
    } cases[] = {
        {"no host", false, "[]", R"({"message":"Native impl instance is null."})",
         "[MoxH5] Callback is nullptr"},
        {"params missing", true, R"({"method":"m"})", R"({"message":"Invalid params."})",
         "[MoxH5] Invalid params {"},
        {"params a string", true, R"({"params":"x"})", R"({"message":"Invalid params."})",
         "[MoxH5] Invalid params {"},
        {"payload an array", true, R"([1])", R"({"message":"Invalid params."})",
         "[MoxH5] Invalid params ["},
        {"payload null", true, "null", R"({"message":"Invalid params."})",
         "[MoxH5] Invalid params "},
        {"all good", true, R"({"params":{"a":1}})", "{}", nullptr},
    };
    for (const auto& c : cases) {
        ScopedActionInterface installed(c.haveHost ? &host : nullptr);
        ScopedLogCapture log;
        mox_h5_module_data call = MakeCall("m");
        call.payload = ParseJson(c.payload);
        Json::Value answer(Json::objectValue);
        const detail::CheckedCall checked = detail::RequireCall(&call, answer, kHandlerSite);
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
    const detail::CallSite site{"H5NativeWorker.cpp", 76, "H5NativeWorker::sendFaseReply"};
    EXPECT_EQ(detail::GuardedCopy(source, "sendFaseReply", site), source);
    EXPECT_TRUE(reports->Reports().empty());

    EXPECT_TRUE(detail::GuardedCopyUsing(source, "sendFaseReply", site, ThrowingCopy).isNull());
    const auto lines = log->Matching("refine_json_wrong, caller: sendFaseReply");
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].file + " " + lines[0].function,
              "H5NativeWorker.cpp H5NativeWorker::sendFaseReply");
    ASSERT_EQ(reports->Reports().size(), 1u);
    const WorkbenchReportRecord r = reports->Reports()[0];
    EXPECT_EQ(r.id, 70332);
    EXPECT_EQ(r.tags, (std::map<std::string, std::string>{{"kv_metric", "refine_json_wrong"},
                                                          {"caller", "sendFaseReply"}}));
    EXPECT_EQ(r.counters, (std::map<std::string, int64_t>{{"kv_count", 1}}));
}

}  // namespace
}  // namespace moxh5::test
