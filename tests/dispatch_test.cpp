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
        EXPECT_EQ(detail::DispatchPlain("JSTest", methods, &call, answer, kSite, rules), c.expected)
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
    EXPECT_FALSE(detail::DispatchPlain("JSTest", methods, nullptr, answer, kSite, {}));
    mox_h5_module_data call = MakeCall("a");
    call.payload.removeMember("method");
    EXPECT_FALSE(detail::DispatchPlain("JSTest", methods, &call, answer, kSite, {}));
    call.payload["method"] = 42;
    EXPECT_FALSE(detail::DispatchPlain("JSTest", methods, &call, answer, kSite, {}));
    call.payload = Json::Value("a");
    EXPECT_FALSE(detail::DispatchPlain("JSTest", methods, &call, answer, kSite, {}));
    EXPECT_TRUE(answer.isNull());
    EXPECT_EQ(log->Matching("[MoxH5] false in TestWorker::Execute 10").size(), 4u);
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
    EXPECT_FALSE(detail::DispatchByContext("JSTest", methods, &call, answer, kSite));
    EXPECT_EQ(answer, ParseJson(R"({"NoNeedUnifyCallBack":true,"reportsSeen":1})"));
    EXPECT_EQ(reports->Reports().size(), 1u);
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

}  // namespace
}  // namespace moxh5::test
