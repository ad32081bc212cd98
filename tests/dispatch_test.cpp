// Tests of the dispatch shared by the workers, driven through test tables,
// and of the seven workers and their adapters as built.
#include "core/detail/dispatch.h"

#include <gtest/gtest.h>

#include "core/detail/adapters.h"
#include "modules/module_adapters.h"
#include "tests/fakes/bridge_fixture.h"
#include "tests/fakes/capture_sinks.h"

namespace moxh5::test {
namespace {

using detail::CompletionMethodMap;
using detail::ContextMethodMap;
using detail::PlainDispatchRules;
using detail::PlainHandler;
using detail::PlainMethodMap;

const detail::CallSite kSite{"TestWorker.cpp", 10, "TestWorker::Execute"};

// A handler that records that it ran and answers `result`.
PlainHandler Marking(const std::string& mark, bool result = true) {
    return [mark, result](const mox_h5_module_data*, Json::Value& answer) {
        answer["ran"] = mark;
        return result;
    };
}

const Json::Value kInvalidMethod = [] {
    Json::Value v;
    v["message"] = "Invalid method.";
    v["support"] = false;
    return v;
}();

// Test the plain dispatch: exact names, unknown-method answer and log rules.
TEST(PlainDispatch, RunsTheNamedHandlerOrRefusesTheMethod) {
    PlainMethodMap methods{{"canIUse", Marking("canIUse")}, {"empty", PlainHandler()}};
    const struct {
        const char* method;
        bool logUnknown;
        bool expected;
        Json::Value answer;
        bool logged;
    } cases[] = {
        {"canIUse", false, true, ParseJson(R"({"ran":"canIUse"})"), false},
        {"CANIUSE", false, false, kInvalidMethod, false},
        {"CANIUSE", true, false, kInvalidMethod, true},
        {"empty", true, false, kInvalidMethod, true},  // an empty handler counts as unknown
        {"", true, false, kInvalidMethod, true},
    };
    for (const auto& c : cases) {
        ScopedLogCapture log;
        Json::Value answer;
        const mox_h5_module_data call = MakeCall(c.method);
        PlainDispatchRules rules;
        rules.logUnknownMethod = c.logUnknown;
        EXPECT_EQ(detail::DispatchPlain(methods, &call, answer, kSite, rules), c.expected)
            << c.method;
        EXPECT_EQ(answer, c.answer) << c.method;
        EXPECT_EQ(log->Contains(std::string("[MoxH5] Failed to find method ") + c.method), c.logged)
            << c.method;
    }
}

// Test that a call without a usable request or "method" runs nothing and answers nothing.
TEST(PlainDispatch, NullRequestOrMissingMethodLeavesAnswerUntouched) {
    PlainMethodMap methods{{"a", Marking("a")}};
    ScopedLogCapture log;
    Json::Value answer;
    EXPECT_FALSE(detail::DispatchPlain(methods, nullptr, answer, kSite, {}));
    mox_h5_module_data call = MakeCall("a");
    call.payload.removeMember("method");
    EXPECT_FALSE(detail::DispatchPlain(methods, &call, answer, kSite, {}));
    call.payload["method"] = 42;
    EXPECT_FALSE(detail::DispatchPlain(methods, &call, answer, kSite, {}));
    call.payload = Json::Value("a");
    EXPECT_FALSE(detail::DispatchPlain(methods, &call, answer, kSite, {}));
    EXPECT_TRUE(answer.isNull());
    EXPECT_EQ(log->Matching("[MoxH5] false in TestWorker::Execute 10").size(), 4u);
}

// Test that render-page answers of the photo rules start silenced, worker-page answers not.
TEST(PlainDispatch, SilencedRenderAnswersCarryTheFlagEvenForUnknownMethods) {
    PlainMethodMap methods;
    PlainDispatchRules rules;
    rules.silenceRenderAnswers = true;
    Json::Value render;
    const mox_h5_module_data renderCall = MakeCall("nothing", Json::objectValue, false);
    EXPECT_FALSE(detail::DispatchPlain(methods, &renderCall, render, kSite, rules));
    EXPECT_EQ(
        render,
        ParseJson(R"({"NoNeedUnifyCallBack":true,"message":"Invalid method.","support":false})"));
    Json::Value worker;
    const mox_h5_module_data workerCall = MakeCall("nothing", Json::objectValue, true);
    EXPECT_FALSE(detail::DispatchPlain(methods, &workerCall, worker, kSite, rules));
    EXPECT_EQ(worker, kInvalidMethod);
}

// Test that the context dispatch picks the slot of the caller's page kind and reports first.
TEST(ContextDispatch, PicksTheSlotOfThePageKind) {
    ContextMethodMap methods;
    methods["both"] = {Marking("render"), Marking("worker")};
    methods["workerOnly"] = {PlainHandler(), Marking("worker")};
    const struct {
        const char* method;
        bool isWorker;
        bool expected;
        const char* answer;
    } cases[] = {
        {"both", false, true, R"({"NoNeedUnifyCallBack":true,"ran":"render"})"},
        {"both", true, true, R"({"NoNeedUnifyCallBack":true,"ran":"worker"})"},
        {"workerOnly", true, true, R"({"NoNeedUnifyCallBack":true,"ran":"worker"})"},
        {"workerOnly", false, false,
         R"({"NoNeedUnifyCallBack":true,"message":"Invalid method.","support":false})"},
        {"Both", false, false,
         R"({"NoNeedUnifyCallBack":true,"message":"Invalid method.","support":false})"},
    };
    for (const auto& c : cases) {
        Json::Value answer;
        const mox_h5_module_data call = MakeCall(c.method, Json::objectValue, c.isWorker);
        EXPECT_EQ(detail::DispatchByContext(methods, &call, answer, kSite), c.expected) << c.method;
        EXPECT_EQ(answer, ParseJson(c.answer)) << c.method << " worker=" << c.isWorker;
    }
}

// Test that the usage report is sent before the handler runs, also for a failing handler.
TEST(ContextDispatch, ReportsBeforeTheHandlerRuns) {
    ScopedReportCapture reports;
    ContextMethodMap methods;
    CaptureReportSink* sink = reports.operator->();
    methods["failing"] = {[sink](const mox_h5_module_data*, Json::Value& answer) {
                              answer["reportsSeen"] = static_cast<int>(sink->Reports().size());
                              return false;
                          },
                          PlainHandler()};
    Json::Value answer;
    const mox_h5_module_data call = MakeCall("failing");
    EXPECT_FALSE(detail::DispatchByContext(methods, &call, answer, kSite));
    EXPECT_EQ(answer, ParseJson(R"({"NoNeedUnifyCallBack":true,"reportsSeen":1})"));
    EXPECT_EQ(reports->Reports().size(), 1u);
}

// Test the usage report's id and tags.
TEST(ContextDispatch, UsageReportNamesMethodAndPageKind) {
    ContextMethodMap methods;
    methods["both"] = {Marking("render"), Marking("worker")};
    for (bool isWorker : {false, true}) {
        ScopedReportCapture reports;
        Json::Value answer;
        const mox_h5_module_data call = MakeCall("both", Json::objectValue, isWorker);
        detail::DispatchByContext(methods, &call, answer, kSite);
        ASSERT_EQ(reports->Reports().size(), 1u);
        const WorkbenchReportRecord r = reports->Reports()[0];
        EXPECT_EQ(r.id, 91936);
        EXPECT_EQ(r.tags, (std::map<std::string, std::string>{{"kv_metric", "h5_native"},
                                                              {"method", "both"},
                                                              {"worker", isWorker ? "1" : "0"}}));
    }
    ScopedReportCapture none;
    Json::Value answer;
    const mox_h5_module_data unknown = MakeCall("unknown");
    detail::DispatchByContext(methods, &unknown, answer, kSite);
    EXPECT_TRUE(none->Reports().empty());
}

// Test that the completion dispatch answers once for every call no handler takes.
TEST(CompletionDispatch, RunsCompletionOnceForUnknownOrMissingMethods) {
    CompletionMethodMap methods;
    methods["take"] = [](const mox_h5_module_data*, const std::function<bool()>& done,
                         Json::Value&) { return done(); };
    int completions = 0;
    const std::function<bool()> done = [&completions] { return ++completions > 0; };

    Json::Value answer;
    mox_h5_module_data call = MakeCall("take");
    EXPECT_TRUE(detail::DispatchWithCompletion(methods, &call, done, answer, kSite));
    EXPECT_EQ(completions, 1);

    call = MakeCall("unknown");
    EXPECT_FALSE(detail::DispatchWithCompletion(methods, &call, done, answer, kSite));
    EXPECT_EQ(completions, 2);
    EXPECT_EQ(answer, kInvalidMethod);

    call.payload.removeMember("method");
    EXPECT_TRUE(detail::DispatchWithCompletion(methods, &call, done, answer, kSite));
    EXPECT_EQ(completions, 3);
}

using AdapterSet = mox_source_info_t (*)();

// Test every module's adapters and worker as built: names, null guards, empty method.
TEST(ModuleAdapters, EveryModuleGuardsNullsAndKnowsNoEmptyMethod) {
    const struct {
        AdapterSet info;
        const char* name;
        const char* adapter;
    } modules[] = {
        {h5_Basic_source_info, "JSCallBasic", "Basic"},
        {h5_Device_source_info, "JSDevice", "Device"},
        {h5_Network_source_info, "JSNetwork", "Network"},
        {h5_Photo_source_info, "JSPhoto", "Photo"},
        {h5_Socket_source_info, "MMSSocket", "Socket"},
        {h5_Storage_source_info, "JSStorage", "Storage"},
        {h5_Native_source_info, "JSCallNative", "Native"},
    };
    for (const auto& m : modules) {
        ScopedLogCapture log;
        const mox_source_info_t info = m.info();
        EXPECT_EQ(info.name, m.name);
        EXPECT_EQ(info.name_fn(), m.name);
        EXPECT_EQ(info.reserved, 0u);
        const std::shared_ptr<IModuleWorker> worker = info.create_fn();
        ASSERT_TRUE(worker) << m.name;
        EXPECT_EQ(worker.use_count(), 1);

        Json::Value answer;
        EXPECT_FALSE(info.execute_fn(worker, nullptr, answer)) << m.name;
        EXPECT_FALSE(info.execute_fn(nullptr, nullptr, answer)) << m.name;
        EXPECT_TRUE(answer.isNull()) << m.name;
        EXPECT_FALSE(info.exist_fn(nullptr, "canIUse")) << m.name;
        EXPECT_FALSE(info.exist_fn(worker, "")) << m.name;
        const std::string prefix = std::string("[MoxH5] false in h5_") + m.adapter;
        EXPECT_EQ(log->Matching(prefix + "_execute").size(), 2u) << m.name;
        EXPECT_EQ(log->Matching(prefix + "_exist").size(), 1u) << m.name;
        EXPECT_EQ(worker.use_count(), 1) << "adapters release their worker reference";
    }
}

// Test the per-worker differences for an unknown method, through the real workers.
TEST(ModuleAdapters, UnknownMethodAnswersFollowEachWorkersRules) {
    const struct {
        AdapterSet info;
        bool logged;
        const char* renderAnswer;
    } modules[] = {
        {h5_Basic_source_info, false, R"({"message":"Invalid method.","support":false})"},
        {h5_Device_source_info, false, R"({"message":"Invalid method.","support":false})"},
        {h5_Network_source_info, true, R"({"message":"Invalid method.","support":false})"},
        {h5_Socket_source_info, true, R"({"message":"Invalid method.","support":false})"},
        {h5_Photo_source_info, true,
         R"({"NoNeedUnifyCallBack":true,"message":"Invalid method.","support":false})"},
        {h5_Native_source_info, true,
         R"({"NoNeedUnifyCallBack":true,"message":"Invalid method.","support":false})"},
    };
    for (const auto& m : modules) {
        ScopedLogCapture log;
        const mox_source_info_t info = m.info();
        Json::Value answer;
        const mox_module_data call = MakeCall("noSuchMethod");
        EXPECT_FALSE(info.execute_fn(info.create_fn(), &call, answer));
        EXPECT_EQ(answer, ParseJson(m.renderAnswer)) << info.name;
        EXPECT_EQ(log->Contains("[MoxH5] Failed to find method noSuchMethod"), m.logged)
            << info.name;
    }
}

}  // namespace
}  // namespace moxh5::test
