// The smallest host: start the manager without any host interface, ask which
// modules exist, call one method that needs no host, and check that the
// library logs through the log sink this program installs (host and library
// share the host's log library).
#include <moxh5/module_manager.h>
#include <moxh5/version.h>

#include <cstdio>
#include <memory>
#include <string>
#include <utility>

#include "MoxLog.h"

namespace {

mox_h5_module_data PageCall(const char* method, const Json::Value& params) {
    mox_h5_module_data call;
    call.mallcsid = "consumer";
    call.payload["method"] = method;
    call.payload["params"] = params;
    return call;
}

// Counts the lines of priority `priority` whose text is `text`.
class CountingSink final : public IMoxLogSink {
public:
    CountingSink(int priority, std::string text) : m_priority(priority), m_text(std::move(text)) {}
    int MaxPriority() const override { return LOG_PRIORITY_DEBUG; }
    void Write(const MoxLogRecord& record) override {
        if (record.priority == m_priority && record.text == m_text) ++count;
    }
    int count = 0;

private:
    int m_priority;
    std::string m_text;
};

}  // namespace

int main() {
    MoxModuleManager* manager = CSingleton<MoxModuleManager>::GetInstance();
    manager->Init(nullptr, nullptr, MoxConfigCallback());
    manager->Create();

    Json::Value name(Json::objectValue);
    name["name"] = "JSCallNative.getWorkbenchVersion";
    const bool exists = manager->Exist(PageCall("canIUse", name));

    Json::Value answer(Json::objectValue);
    const auto [registered, handled] = manager->Execute(
        "JSCallNative", PageCall("getWorkbenchVersion", Json::Value(Json::objectValue)), answer);
    const std::string version = answer["data"]["WorkbenchVersion"].asString();

    // A page's log line reaches this program's sink (a page writes at notice
    // at most, whatever level it asks for).
    const auto sink =
        std::make_shared<CountingSink>(LOG_PRIORITY_NOTICE, "[MoxH5] from the consumer");
    CMoxLog::SetSink(sink);
    Json::Value line(Json::objectValue);
    line["content"] = "from the consumer";
    line["logLevel"] = "error";
    Json::Value logged(Json::objectValue);
    manager->Execute("JSCallBasic", PageCall("setLog", line), logged);
    CMoxLog::SetSink(nullptr);

    // The identity a host keeps to answer this page later.
    const MoxPageIdentity page = moxh5::PageIdentityOf(PageCall("setLog", line));

    std::printf("exists %d, registered %d, handled %d, library %s, headers %s, log lines %d, "
                "page %s\n",
                exists, registered, handled, version.c_str(), MOXH5_VERSION_STRING, sink->count,
                page.mallcsid.c_str());
    return exists && registered && handled && version == MOXH5_VERSION_STRING && sink->count == 1 &&
                   page.mallcsid == "consumer"
               ? 0
               : 1;
}
