// Cost of one page call through the manager, as a host makes it.
//   build/release/bin/moxh5_bench
// The request-trace cases compare a host whose log keeps info lines (the
// payload is written out as JSON for every call) with one that keeps only
// warnings (nothing is written): the difference is what the hot path saves.
// The page-policy cases run "showToast" under the default policy, the
// unrestricted one and a policy with a method filter, side by side: a method
// that touches no shell, file or URL must cost the same under each.
// ShowToastThroughC is the same call as ShowToastQuietLog made through the C
// interface: request text in, answer text out, the operation handed to a C
// callback as JSON text.
#include <benchmark/benchmark.h>

#include <memory>
#include <string_view>
#include <utility>

#include "MoxLog.h"
#include "moxh5/module_manager.h"
#include "moxh5/moxh5_c.h"
#include "tools/recording_host/recording_host.h"

namespace {

class NullSink final : public IMoxLogSink {
public:
    explicit NullSink(int maxPriority) : m_maxPriority(maxPriority) {}
    int MaxPriority() const override { return m_maxPriority; }
    void Write(const MoxLogRecord&) override {}

private:
    int m_maxPriority;
};

// A host that answers everything and keeps nothing, so that memory stays flat.
moxh5::test::RecordingHost& Host() {
    static moxh5::test::RecordingHost host;
    return host;
}

MoxModuleManager& Manager() {
    static MoxModuleManager* manager = [] {
        MoxModuleManager* m = MoxModuleManager::GetInstance();
        m->Init(&Host(), nullptr, MoxConfigCallback());
        m->SetCallback(&Host());
        m->Create();
        return m;
    }();
    return *manager;
}

mox_h5_module_data Call(const char* method, const char* contentText) {
    mox_h5_module_data call;
    call.mallcsid = "mall-1|cs-1";
    call.payload["method"] = method;
    call.payload["params"]["name"] = "JSStorage.setPasteboard";
    call.payload["params"]["type"] = 1;
    call.payload["params"]["duration"] = 1500;
    call.payload["params"]["content"] = contentText;
    call.callbackid = "cb-1";
    return call;
}

void RunCalls(benchmark::State& state, const char* module, const char* method, int logLevel,
              MoxPagePolicy policy = {}) {
    CMoxLog::SetSink(std::make_shared<NullSink>(logLevel));
    MoxModuleManager& manager = Manager();
    manager.SetPagePolicy(std::move(policy));
    manager.SetCallback(&Host());
    const mox_h5_module_data call = Call(method, "The parcel left the warehouse this morning.");
    for (auto _ : state) {
        Json::Value answer(Json::objectValue);
        benchmark::DoNotOptimize(manager.Execute(module, call, answer));
        if ((state.iterations() & 1023) == 0) Host().Reset();
    }
    Host().Reset();
    CMoxLog::SetSink(nullptr);
    manager.SetPagePolicy({});
}

void CanIUse(benchmark::State& state) {
    RunCalls(state, "JSCallBasic", "canIUse", LOG_PRIORITY_WARNING);
}
void ShowToastQuietLog(benchmark::State& state) {
    RunCalls(state, "JSCallNative", "showToast", LOG_PRIORITY_WARNING);
}
void ShowToastTracedLog(benchmark::State& state) {
    RunCalls(state, "JSCallNative", "showToast", LOG_PRIORITY_INFO);
}
void ShowToastUnrestricted(benchmark::State& state) {
    RunCalls(state, "JSCallNative", "showToast", LOG_PRIORITY_WARNING,
             MoxPagePolicy::Unrestricted());
}
void ShowToastMethodFilter(benchmark::State& state) {
    MoxPagePolicy policy;
    policy.methodFilter = [](const MoxCallingPage&, std::string_view module, std::string_view) {
        return module != "JSPhoto";
    };
    RunCalls(state, "JSCallNative", "showToast", LOG_PRIORITY_WARNING, std::move(policy));
}
void UnknownModule(benchmark::State& state) {
    RunCalls(state, "JSNothing", "x", LOG_PRIORITY_WARNING);
}

// A C host that takes every operation and keeps nothing.
void MOXH5_CALL CountOperation(void* user, const char*, const char* args, moxh5_token*,
                               moxh5_reply_slot*) {
    *static_cast<size_t*>(user) += args[0] == '{';
}

void ShowToastThroughC(benchmark::State& state) {
    CMoxLog::SetSink(std::make_shared<NullSink>(LOG_PRIORITY_WARNING));
    size_t operations = 0;
    moxh5_host_table table{};
    table.size = sizeof table;
    table.user = &operations;
    table.operation = &CountOperation;
    moxh5_host* host = nullptr;
    if (moxh5_create(&table, &host) != MOXH5_OK) {
        state.SkipWithError("moxh5_create failed");
        return;
    }
    const char* request =
        R"({"mallcsid":"mall-1|cs-1","callbackid":"cb-1","payload":{"method":"showToast",)"
        R"("params":{"name":"JSStorage.setPasteboard","type":1,"duration":1500,)"
        R"("content":"The parcel left the warehouse this morning."}}})";
    for (auto _ : state) {
        unsigned outcome = 0;
        char* answer = nullptr;
        benchmark::DoNotOptimize(moxh5_execute(host, "JSCallNative", request, &outcome, &answer));
        moxh5_free(answer);
    }
    if (operations != static_cast<size_t>(state.iterations())) state.SkipWithError("no toast");
    moxh5_destroy(host);
    CMoxLog::SetSink(nullptr);
}

BENCHMARK(CanIUse);
BENCHMARK(ShowToastQuietLog);
BENCHMARK(ShowToastUnrestricted);
BENCHMARK(ShowToastMethodFilter);
BENCHMARK(ShowToastThroughC);
BENCHMARK(ShowToastTracedLog);
BENCHMARK(UnknownModule);

}  // namespace

BENCHMARK_MAIN();
