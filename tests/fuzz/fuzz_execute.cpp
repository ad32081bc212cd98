// libFuzzer target: one page call per input, against every module, with the
// host's behaviour taken from the input too.
//
// An input is, when it parses, a JSON object in the shape of a transcript
// call line plus host settings:
//   {"module": "JSCallNative", "payload": {...}, "isWorker": true, "webindex": 3,
//    "callbackid": "cb", "workerid": "w", "actionInterface": false, "userCenter": false,
//    "hostResult": false, "switches": true, "complete": true,
//    "success": false, "answer": {...}}
// Anything else becomes the payload itself (a string value), sent to a module
// chosen by the input's length. So the example transcripts' call lines are
// seeds as they stand.
#include <json/reader.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "MoxLog.h"
#include "moxh5/module_manager.h"
#include "moxh5/platform.h"
#include "tools/recording_host/recording_host.h"

namespace {

const char* const kModules[] = {"JSCallBasic", "JSDevice",  "JSNetwork",   "JSPhoto",
                                "MMSSocket",   "JSStorage", "JSCallNative"};
constexpr size_t kModuleCount = sizeof(kModules) / sizeof(kModules[0]);

bool g_switchesOn = false;

// Takes every line, so that every message is formatted, and keeps none.
class DiscardingSink final : public IMoxLogSink {
public:
    int MaxPriority() const override { return LOG_PRIORITY_DEBUG; }
    void Write(const MoxLogRecord&) override {}
};

moxh5::test::RecordingHost& Host() {
    static moxh5::test::RecordingHost host;
    return host;
}

void StartLibraryOnce() {
    static const bool started = [] {
        CMoxLog::SetSink(std::make_shared<DiscardingSink>());
        // Pages may ask to open links and files: never start anything here.
        moxh5::platform::SetShellOpenHook(
            [](const std::wstring& target) -> uintptr_t { return target.empty() ? 2 : 42; });
        // Nor delete any file a mutated path happens to name.
        moxh5::platform::SetRemoveFileHook([](const std::wstring&) { return 0; });
        // Client links are rewritten to this prefix and handed to the host.
        Host().SetClientLinkPrefix("moxclient://open/");
        MoxModuleManager* manager = MoxModuleManager::GetInstance();
        manager->Init(&Host(), nullptr,
                      [](const std::string&, const std::string&, const MoxConfigValue&) {
                          return g_switchesOn;
                      });
        manager->Create();
        return true;
    }();
    (void)started;
}

bool ParseInput(const uint8_t* data, size_t size, Json::Value& input) {
    static const Json::CharReaderBuilder builder;
    std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    const char* begin = reinterpret_cast<const char*>(data);
    return reader->parse(begin, begin + size, &input, nullptr) && input.isObject();
}

template <typename T>
T Member(const Json::Value& input, const char* name, T fallback) {
    const Json::Value& v = input[name];
    if constexpr (std::is_same_v<T, bool>) return v.isBool() ? v.asBool() : fallback;
    if constexpr (std::is_same_v<T, int>) return v.isInt() ? v.asInt() : fallback;
    if constexpr (std::is_same_v<T, std::string>) return v.isString() ? v.asString() : fallback;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    StartLibraryOnce();
    moxh5::test::RecordingHost& host = Host();
    host.Reset();

    Json::Value input;
    if (!ParseInput(data, size, input)) {
        input = Json::Value(Json::objectValue);
        input["module"] = kModules[size % kModuleCount];
        input["payload"] = std::string(reinterpret_cast<const char*>(data), size);
    }
    host.SetDefaultResult(Member(input, "hostResult", true));
    g_switchesOn = Member(input, "switches", false);
    MoxModuleManager* manager = MoxModuleManager::GetInstance();
    manager->SetCallback(Member(input, "actionInterface", true) ? &host : nullptr);
    manager->SetUserCenter(Member(input, "userCenter", true) ? &host : nullptr);

    mox_h5_module_data request;
    request.mallcsid = Member<std::string>(input, "mallcsid", "mall-1|cs-1");
    request.payload = input["payload"];
    request.isWorker = Member(input, "isWorker", false);
    request.webindex = Member(input, "webindex", 0);
    request.callbackid = Member<std::string>(input, "callbackid", "cb-1");
    const std::string workerid = Member<std::string>(input, "workerid", "worker-1");
    request.workerid =
        input.isMember("workerid") && !input["workerid"].isString() ? nullptr : workerid.c_str();
    request.configCallback = manager->GetConfigCallback();

    const std::string module = Member<std::string>(input, "module", "JSCallNative");
    Json::Value answer(Json::objectValue);
    const auto [registered, handled] = manager->Execute(module, request, answer);
    if (registered) {
        callBackToWebPage(request.isWorker, handled, request.webindex, request.mallcsid,
                          request.callbackid, workerid, answer);
    }
    manager->Exist(request);

    // The host finishes (or drops) what it accepted, after the request is gone.
    request = mox_h5_module_data();
    if (Member(input, "complete", true)) {
        host.CompleteAll(Member(input, "success", true), input["answer"]);
    } else {
        host.TakePending();
    }
    return 0;
}
