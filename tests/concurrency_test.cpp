// Several host threads call the library at once while others finish
// asynchronous work, as the threading contract allows. Run under the `tsan`
// preset this also proves the absence of data races.
#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <mutex>
#include <set>
#include <thread>

#include "tests/fakes/bridge_fixture.h"
#include "tests/fakes/capture_sinks.h"

namespace moxh5::test {
namespace {

struct CallShape {
    const char* module;
    const char* method;
    const char* params;
    bool isWorker;
};

// Calls across every module: immediate answers, refusals and asynchronous work.
const CallShape kCalls[] = {
    {"JSCallBasic", "setLog", R"({"content":"x","logLevel":"debug"})", true},
    {"JSCallNative", "showToast", R"({"type":2,"content":"t","duration":100})", false},
    {"JSCallNative", "showCommonTip", R"({"title":"t","content":"c"})", true},
    {"JSCallNative", "showCommonTip", R"({"title":"t","content":"c"})", false},
    {"JSCallNative", "noSuchMethod", "{}", false},
    {"JSDevice", "getSystemInfo", "{}", true},
    {"JSNetwork", "httpRequest", R"({"type":"post","url":"https://a.example/","headers":["A: b"]})",
     true},
    {"JSPhoto", "watch", R"({"url":"u","msg_id":"m"})", false},
    {"MMSSocket", "send", R"({"cmd":"x","request_id":5})", true},
    {"JSStorage", "noSuchMethod", "{}", false},
};

// Test that every asynchronous answer reaches its page exactly once and no page hears twice.
TEST(Concurrency, CallsAndCompletionsOnManyThreads) {
    ScopedLogCapture quiet(LOG_PRIORITY_ALERT);
    ScopedReportCapture reports;
    RecordingHost host;
    host.SetCurrentUid("", "buyer-1");
    MoxModuleManager& manager = ReadySingleton();
    ScopedActionInterface installed(&host);

    constexpr int kCallers = 4;
    constexpr int kRounds = 60;
    std::atomic<bool> callersDone{false};
    std::atomic<int> completed{0};
    std::mutex asyncMutex;
    std::set<std::string> asyncIds;

    std::vector<std::thread> threads;
    for (int t = 0; t < kCallers; ++t) {
        threads.emplace_back([&, t] {
            for (int round = 0; round < kRounds; ++round) {
                for (size_t s = 0; s < std::size(kCalls); ++s) {
                    const CallShape& shape = kCalls[s];
                    const std::string id = "t" + std::to_string(t) + "-" + std::to_string(round) +
                                           "-" + std::to_string(s) + "-" + shape.method;
                    mox_h5_module_data call =
                        MakeCall(shape.method, ParseJson(shape.params), shape.isWorker, id);
                    Json::Value answer(Json::objectValue);
                    const auto [registered, handled] = manager.Execute(shape.module, call, answer);
                    manager.Exist(
                        MakeCall("canIUse", ParseJson(R"({"name":"JSCallNative.showToast"})")));
                    if (answer.get("AsynExec", false) == true) {
                        std::lock_guard<std::mutex> lock(asyncMutex);
                        asyncIds.insert(id);
                    }
                    callBackToWebPage(call.isWorker, handled, call.webindex, call.mallcsid,
                                      call.callbackid, "worker-9", answer);
                }
            }
        });
    }
    // Completers finish the host's work on their own threads while calls go on.
    for (int c = 0; c < 2; ++c) {
        threads.emplace_back([&] {
            for (;;) {
                const bool last = callersDone.load();
                completed += static_cast<int>(host.CompleteAll(true, ParseJson(R"({"data":1})")));
                if (last) break;
                std::this_thread::yield();
            }
        });
    }
    for (int t = 0; t < kCallers; ++t) threads[static_cast<size_t>(t)].join();
    callersDone = true;
    for (size_t t = kCallers; t < threads.size(); ++t) threads[t].join();
    completed += static_cast<int>(host.CompleteAll(true, ParseJson(R"({"data":1})")));

    std::map<std::string, int> deliveries;
    for (const HostCall& call : host.Calls()) {
        if (call.op == "RenderJsCallback") ++deliveries[call.args["callId"].asString()];
        if (call.op == "WorkerJsCallback") ++deliveries[call.args["callbackid"].asString()];
    }
    for (const auto& [id, count] : deliveries) EXPECT_EQ(count, 1) << id;
    for (const std::string& id : asyncIds) EXPECT_EQ(deliveries.count(id), 1u) << id;
    EXPECT_EQ(static_cast<size_t>(completed.load()), asyncIds.size());
}

// Test that the action interface can be swapped while calls run: each call reaches one host.
TEST(Concurrency, SetCallbackWhileCallsRun) {
    ScopedLogCapture quiet(LOG_PRIORITY_ALERT);
    ScopedReportCapture reports;
    RecordingHost first, second;
    MoxModuleManager& manager = ReadySingleton();
    ScopedActionInterface installed(&first);
    std::atomic<bool> done{false};
    std::thread swapper([&] {
        for (int i = 0; !done.load(); ++i) manager.SetCallback(i % 2 ? &first : &second);
    });
    for (int i = 0; i < 500; ++i) {
        Json::Value answer(Json::objectValue);
        manager.Execute("JSCallNative", MakeCall("showToast", ParseJson(R"({"content":"t"})")),
                        answer);
    }
    done = true;
    swapper.join();
    EXPECT_EQ(first.CountOf("ShowToast") + second.CountOf("ShowToast"), size_t{500});
}

}  // namespace
}  // namespace moxh5::test
