#include "moxh5/module_manager.h"

#include <utility>
#include <vector>

#include "core/detail/answer.h"
#include "core/detail/diagnostics.h"
#include "core/detail/no_throw.h"
#include "core/detail/page_policy.h"
#include "core/detail/params.h"
#include "core/detail/pending_answers.h"
#include "modules/module_adapters.h"
#include "mox_json.h"

namespace {

constexpr char kExistFunction[] = "MoxModuleManager::Exist";

// Splits at '.', keeping empty parts, so that ".canIUse" names the module ""
// (which is never registered) rather than "canIUse".
std::vector<std::string> SplitAtPoints(const std::string& text) {
    std::vector<std::string> parts;
    size_t start = 0;
    for (;;) {
        const size_t point = text.find('.', start);
        parts.push_back(text.substr(start, point - start));
        if (point == std::string::npos) break;
        start = point + 1;
    }
    return parts;
}

// The method a payload names, for diagnostics; never throws.
std::string MethodNameOf(const Json::Value& payload) noexcept {
    try {
        if (!payload.isObject()) return {};
        const char* name = moxh5::key::kMethod;
        const Json::Value* method = payload.find(name, name + sizeof(moxh5::key::kMethod) - 1);
        return method && method->isString() ? method->asString() : std::string();
    } catch (...) {
        return {};
    }
}

// Logs an exception that a module let escape; the manager stops it here so
// that none reaches the host.
void LogEscapedException(const char* function, const Json::Value& payload,
                         const char* what) noexcept {
    try {
        CMoxLog::MoxLogFormat(LOG_PRIORITY_ERROR, __FILE__, __LINE__, function,
                              "[MoxH5] exception in %s, method %s: %s", function,
                              MethodNameOf(payload).c_str(), what);
    } catch (...) {
    }
}

}  // namespace

template <>
MoxModuleManager* CSingleton<MoxModuleManager>::GetInstance() {
    static MoxModuleManager instance;
    return &instance;
}

MoxModuleManager* MoxModuleManager::GetInstance() noexcept {
    return moxh5::detail::CatchAll("MoxModuleManager::GetInstance",
                                   static_cast<MoxModuleManager*>(nullptr),
                                   [] { return CSingleton<MoxModuleManager>::GetInstance(); });
}

MoxModuleManager::MoxModuleManager() = default;
MoxModuleManager::~MoxModuleManager() = default;

void MoxModuleManager::Init(IUserCenter* userCenter, IHttpBusinessMonitorCallBack* httpBizMonitor,
                            MoxConfigCallback configCallback) noexcept {
    SetUserCenter(userCenter);
    m_httpBizMonitor = httpBizMonitor;
    moxh5::detail::CatchAll("MoxModuleManager::Init", [&] {
        m_configCallback = std::move(configCallback);
        // The native module comes last on purpose: it is the largest and the
        // other modules do not depend on it.
        Register(h5_Basic_source_info());
        Register(h5_Device_source_info());
        Register(h5_Network_source_info());
        Register(h5_Photo_source_info());
        Register(h5_Socket_source_info());
        Register(h5_Storage_source_info());
        Register(h5_Native_source_info());
    });
}

void MoxModuleManager::SetCallback(IH5ActionImplCallBack* callback) noexcept {
    m_callback.store(callback, std::memory_order_release);
}

void MoxModuleManager::SetPagePolicy(MoxPagePolicy policy) noexcept {
    moxh5::detail::CatchAll("MoxModuleManager::SetPagePolicy",
                            [&] { m_pagePolicy = std::move(policy); });
}

void MoxModuleManager::SetUserCenter(IUserCenter* userCenter) noexcept {
    m_userCenter.store(userCenter, std::memory_order_release);
}

void MoxModuleManager::Register(const mox_source_info_t& info) noexcept {
    moxh5::detail::CatchAll("MoxModuleManager::Register", [&] {
        ModuleEntry entry;
        entry.name = info.name;
        entry.reserved = info.reserved;
        entry.name_fn = info.name_fn;
        entry.create_fn = info.create_fn;
        entry.execute_fn = info.execute_fn;
        entry.exist_fn = info.exist_fn;
        // multimap::emplace places an equal key after the existing ones.
        m_modules.emplace(info.name, std::move(entry));
    });
}

bool MoxModuleManager::Create() noexcept {
    return moxh5::detail::CatchAll("MoxModuleManager::Create", false, [this] {
        for (auto& [name, entry] : m_modules) {
            if (!entry.worker && entry.create_fn) entry.worker = entry.create_fn();
        }
        return true;
    });
}

void MoxModuleManager::PageClosed(bool isWorker, int32_t webindex,
                                  const std::string& workerid) noexcept {
    const size_t dropped = moxh5::detail::CloseAnswersOf(isWorker, webindex, workerid);
    moxh5::detail::CatchAll("MoxModuleManager::PageClosed", [&] {
        MOX_LOG(LOG_PRIORITY_INFO, "MoxModuleManager::PageClosed",
                "[MoxH5] Page closed: worker[%d] webindex[%d] workerid[%.64s], %zu answers "
                "outstanding",
                isWorker ? 1 : 0, webindex, workerid.c_str(), dropped);
    });
}

const MoxModuleManager::ModuleEntry* MoxModuleManager::FindModule(const std::string& name) const {
    const auto range = m_modules.equal_range(name);
    if (range.first == range.second) return nullptr;
    return &std::prev(range.second)->second;
}

std::tuple<bool, bool> MoxModuleManager::Execute(const std::string& name,
                                                 const mox_module_data& data,
                                                 Json::Value& answer) noexcept {
    const ModuleEntry* entry = FindModule(name);
    if (!entry) return {false, false};
    if (!entry->execute_fn) return {true, false};
    moxh5::detail::NoteNewCall(data);
    try {
        // The copy keeps the worker alive for the length of the call.
        std::shared_ptr<IModuleWorker> worker = entry->worker;
        return {true, entry->execute_fn(std::move(worker), &data, answer)};
    } catch (const std::exception& e) {
        LogEscapedException("MoxModuleManager::Execute", data.payload, e.what());
    } catch (...) {
        LogEscapedException("MoxModuleManager::Execute", data.payload, "unknown exception");
    }
    return {true, false};
}

bool MoxModuleManager::Exist(const mox_h5_module_data& data) noexcept {
    try {
        return ExistUnguarded(data);
    } catch (const std::exception& e) {
        LogEscapedException(kExistFunction, data.payload, e.what());
    } catch (...) {
        LogEscapedException(kExistFunction, data.payload, "unknown exception");
    }
    return false;
}

bool MoxModuleManager::ExistUnguarded(const mox_h5_module_data& data) {
    const Json::Value* params = moxh5::detail::FindCallParams(data.payload);
    if (!params) {
        MOX_LOG_FALSE_IN(kExistFunction);
        return false;
    }
    std::string name;
    if (!mox_json::GetJsonValueToString(*params, "name", name, kExistFunction, true, false)) {
        MOX_LOG_FALSE_IN(kExistFunction);
        return false;
    }
    const std::vector<std::string> parts = SplitAtPoints(name);
    const ModuleEntry* entry = FindModule(parts[0]);
    if (!entry) return false;
    if (parts.size() == 1) return true;
    return entry->exist_fn && entry->exist_fn(entry->worker, parts[1]) &&
           moxh5::detail::MethodPermitted(data, parts[0], parts[1]);
}
