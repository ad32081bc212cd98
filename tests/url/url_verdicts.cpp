// What the library hands the shell for each link a page asks it to open:
// reads one link per line on stdin (each a JSON string), asks
// "windowsDownLoad" to open it under the default page policy, and writes one
// JSON line per link on stdout: {"opened": <the shell's target>} or
// {"refused": true}. The shell itself is never reached.
//
// tests/url/differential.mjs compares these verdicts with a browser's URL
// parser.
#include <json/reader.h>
#include <json/writer.h>

#include <iostream>
#include <memory>
#include <string>

#include "MoxLog.h"
#include "moxh5/module_manager.h"
#include "moxh5/platform.h"

namespace {

// The refusal lines are the verdicts' business, not this program's output.
class SilentSink final : public IMoxLogSink {
public:
    int MaxPriority() const override { return LOG_PRIORITY_ALERT; }
    void Write(const MoxLogRecord&) override {}
};

std::wstring* g_opened = nullptr;

}  // namespace

int main() {
    CMoxLog::SetSink(std::make_shared<SilentSink>());
    std::wstring opened;
    g_opened = &opened;
    moxh5::platform::SetShellOpenHook([](const std::wstring& target) -> uintptr_t {
        *g_opened = target;
        return 42;
    });
    MoxModuleManager* manager = MoxModuleManager::GetInstance();
    manager->Init(nullptr, nullptr, MoxConfigCallback());
    manager->Create();

    Json::CharReaderBuilder readers;
    const std::unique_ptr<Json::CharReader> reader(readers.newCharReader());
    Json::StreamWriterBuilder writers;
    writers["indentation"] = "";
    std::string line;
    while (std::getline(std::cin, line)) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        Json::Value link;
        if (!reader->parse(line.data(), line.data() + line.size(), &link, nullptr) ||
            !link.isString()) {
            std::cerr << "not a JSON string: " << line << "\n";
            return 2;
        }
        mox_h5_module_data call;
        call.mallcsid = "mall-1|cs-1";
        call.payload["method"] = "windowsDownLoad";
        call.payload["params"]["url"] = link;
        call.callbackid = "url";
        opened.clear();
        Json::Value answer;
        manager->Execute("JSCallNative", call, answer);
        Json::Value verdict(Json::objectValue);
        if (opened.empty()) {
            verdict["refused"] = true;
        } else {
            verdict["opened"] = moxh5::platform::WideToUtf8(opened);
        }
        std::cout << Json::writeString(writers, verdict) << "\n";
    }
    return 0;
}
