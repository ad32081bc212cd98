#include "moxh5/module_manager.h"

#include <atomic>
#include <cstring>
#include <mutex>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "answer.h"
#include "core/manager/builtin_modules.h"
#include "diagnostics.h"
#include "no_throw.h"
#include "core/policy/page_policy.h"
#include "core/dispatch/params.h"
#include "payload_limits.h"
#include "core/delivery/serving_page.h"
#include "core/delivery/pending_work.h"
#include "mox_json.h"

namespace {

constexpr char kExistFunction[] = "MoxModuleManager::Exist";

// The module and the method a "canIUse" name asks about: the text before the
// first '.' and the text between it and the next '.'; what follows is ignored
// and never scanned, however long. Empty parts stay, so that ".canIUse" names
// the module "" (which is never registered) rather than "canIUse".
struct AskedName {
    std::string_view module;
    std::optional<std::string_view> method;  // none when the name has no '.'
};

AskedName ReadAskedName(std::string_view name) {
    const size_t point = name.find('.');
    if (point == std::string_view::npos) return {name, std::nullopt};
    const std::string_view rest = name.substr(point + 1);
    return {name.substr(0, point), rest.substr(0, rest.find('.'))};
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
        MOX_LOG(LOG_PRIORITY_ERROR, function, "[MoxH5] exception in %s, method %s: %s", function,
                MethodNameOf(payload).c_str(), what);
    } catch (...) {
    }
}

// Whether the request's payload keeps within the bounds every call must
// respect, noting where its method and params are; logs the refusal
// otherwise. `what` names the call for the line.
bool PayloadAccepted(const mox_h5_module_data& data, const char* function, const std::string& what,
                     moxh5::detail::PayloadMembers& members) {
    if (moxh5::detail::PayloadWithinLimits(data.payload, members)) return true;
    MOX_LOG(LOG_PRIORITY_WARNING, function,
            "[MoxH5] Refused a call to %s: payload deeper than %d or beyond the size bounds",
            what.c_str(), moxh5::detail::kMaxJsonDepth);
    return false;
}

}  // namespace

namespace {

using ModuleEntry = MoxModuleManager::ModuleEntry;

// A manager's modules as a flat list for the lookup of every call: the
// serving entry of each name, found by comparing a name's length before its
// bytes (most names are told apart by length alone). Built by Create and
// dropped by Register and the destructor (start-up calls and the end); a call
// on a manager without one searches the registry itself.
class ModuleIndex {
public:
    explicit ModuleIndex(const MoxModuleManager& manager) : m_manager(&manager) {
        for (const auto& [name, entry] : manager.Modules()) {
            // Equal names keep their order of registration: the last serves.
            if (!m_entries.empty() && m_entries.back().name == name) {
                m_entries.back().entry = &entry;
            } else {
                m_entries.push_back({name, &entry});
            }
        }
    }

    const MoxModuleManager* Manager() const { return m_manager; }

    const ModuleEntry* Find(const std::string& name) const {
        for (const Named& named : m_entries) {
            if (named.name.size() == name.size() &&
                std::memcmp(named.name.data(), name.data(), name.size()) == 0) {
                return named.entry;
            }
        }
        return nullptr;
    }

private:
    struct Named {
        std::string_view name;  // the registry's key
        const ModuleEntry* entry;
    };
    const MoxModuleManager* m_manager;
    std::vector<Named> m_entries;
};

// The index in use: one manager's at a time (the process has one manager; test
// fixtures make more). Indexes it replaced are kept, never freed, so that a
// pointer read just before a replacement stays valid.
std::atomic<const ModuleIndex*> g_index{nullptr};

void ReplaceIndex(const ModuleIndex* index) noexcept {
    static std::mutex& mutex = *new std::mutex;
    static auto& replaced = *new std::vector<const ModuleIndex*>;
    moxh5::detail::CatchAll("ReplaceIndex", [&] {
        std::lock_guard<std::mutex> lock(mutex);
        // Without memory to keep it, the old index is given up, still unfreed.
        if (const ModuleIndex* old = g_index.exchange(index)) replaced.push_back(old);
    });
}

// Drops the index when it is `manager`'s.
void DropIndexOf(const MoxModuleManager* manager) noexcept {
    const ModuleIndex* index = g_index.load();
    if (index && index->Manager() == manager) ReplaceIndex(nullptr);
}

// The entry that serves `name`: the last registered under it. Equal names keep
// their order of registration, so it sits just before the first greater name.
const ModuleEntry* LastEntry(const MoxModuleManager::Registry& modules, const std::string& name) {
    auto last = modules.upper_bound(name);
    if (last == modules.begin()) return nullptr;
    --last;
    return last->first == name ? &last->second : nullptr;
}

const ModuleEntry* EntryOf(const MoxModuleManager& manager, const std::string& name) {
    const ModuleIndex* index = g_index.load(std::memory_order_acquire);
    if (index && index->Manager() == &manager) return index->Find(name);
    return LastEntry(manager.Modules(), name);
}

}  // namespace

template <>
MoxModuleManager* CSingleton<MoxModuleManager>::GetInstance() {
    // Never destroyed: host threads may still deliver answers or log while the
    // library unloads, after the destructors of its statics would have run.
    static MoxModuleManager* const instance = new MoxModuleManager();
    return instance;
}

namespace {
// Built as the library loads, so that the calls a host makes later never meet
// a manager still to be built (and never the null of a failed first build).
extern MoxModuleManager* const g_managerAtLoad;
}  // namespace

MoxModuleManager* MoxModuleManager::GetInstance() noexcept {
    // Once the library has loaded, the manager built then (every call asks).
    if (MoxModuleManager* loaded = g_managerAtLoad) return loaded;
    return moxh5::detail::CatchAll("MoxModuleManager::GetInstance",
                                   static_cast<MoxModuleManager*>(nullptr),
                                   [] { return CSingleton<MoxModuleManager>::GetInstance(); });
}

namespace {
MoxModuleManager* const g_managerAtLoad = MoxModuleManager::GetInstance();
}  // namespace

MoxModuleManager::MoxModuleManager() = default;
MoxModuleManager::~MoxModuleManager() { DropIndexOf(this); }

void MoxModuleManager::Init(IUserCenter* userCenter, IHttpBusinessMonitorCallBack* httpBizMonitor,
                            MoxConfigCallback configCallback) noexcept {
    SetUserCenter(userCenter);
    m_httpBizMonitor = httpBizMonitor;
    moxh5::detail::CatchAll("MoxModuleManager::Init", [&] {
        m_configCallback = std::move(configCallback);
        moxh5::detail::RegisterBuiltInModules(*this);
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
        DropIndexOf(this);
        m_modules.emplace(info.name, std::move(entry));
    });
}

bool MoxModuleManager::Create() noexcept {
    return moxh5::detail::CatchAll("MoxModuleManager::Create", false, [this] {
        for (auto& [name, entry] : m_modules) {
            if (!entry.worker && entry.create_fn) entry.worker = entry.create_fn();
        }
        // Without memory for the index, calls search the registry itself.
        ReplaceIndex(moxh5::detail::CatchAll("MoxModuleManager::Create",
                                             static_cast<const ModuleIndex*>(nullptr),
                                             [this] { return new ModuleIndex(*this); }));
        return true;
    });
}

void MoxModuleManager::PageClosed(bool isWorker, int32_t webindex,
                                  const std::string& workerid) noexcept {
    const size_t dropped = moxh5::detail::CloseWorkOf(isWorker, webindex, workerid);
    moxh5::detail::ForgetHandedFilesOf(isWorker, webindex, workerid);
    moxh5::detail::CatchAll("MoxModuleManager::PageClosed", [&] {
        MOX_LOG(LOG_PRIORITY_INFO, "MoxModuleManager::PageClosed",
                "[MoxH5] Page closed: worker[%d] webindex[%d] workerid[%.64s], %u answers "
                "outstanding",
                isWorker ? 1 : 0, webindex, workerid.c_str(), static_cast<unsigned>(dropped));
    });
}

namespace {

// Execute on `entry`: with `checked`, the payload is known within the bounds
// and its members noted; without, it is walked here first.
std::tuple<bool, bool> ExecuteOn(const ModuleEntry* entry, const std::string& name,
                                 const mox_module_data& data,
                                 const moxh5::detail::PayloadMembers* checked,
                                 Json::Value& answer) noexcept {
    if (!entry) return {false, false};
    if (!entry->execute_fn) return {true, false};
    moxh5::detail::NoteNewCall(data);
    try {
        moxh5::detail::PayloadMembers members;
        if (checked) {
            members = *checked;
        } else if (!PayloadAccepted(data, "MoxModuleManager::Execute", name, members)) {
            answer[moxh5::key::kMessage] = moxh5::text::kInvalidParams;
            return {true, false};
        }
        // The copy keeps the worker alive for the length of the call.
        std::shared_ptr<IModuleWorker> worker = entry->worker;
        // "canIUse" asks Exist about the very request it carries, which needs
        // no second walk; the dispatch finds method and params where the walk
        // saw them.
        const moxh5::detail::DispatchedPayload dispatched(data.payload, members);
        const moxh5::detail::ServingPageScope serving(data);
        return {true, entry->execute_fn(std::move(worker), &data, answer)};
    } catch (const std::exception& e) {
        LogEscapedException("MoxModuleManager::Execute", data.payload, e.what());
    } catch (...) {
        LogEscapedException("MoxModuleManager::Execute", data.payload, "unknown exception");
    }
    return {true, false};
}

}  // namespace

const MoxModuleManager::ModuleEntry* MoxModuleManager::FindModule(const std::string& name) const {
    return EntryOf(*this, name);
}

std::tuple<bool, bool> MoxModuleManager::Execute(const std::string& name,
                                                 const mox_module_data& data,
                                                 Json::Value& answer) noexcept {
    return ExecuteOn(FindModule(name), name, data, nullptr, answer);
}

namespace moxh5::detail {

std::tuple<bool, bool> ExecuteWithinLimits(const std::string& module,
                                           const mox_h5_module_data& data,
                                           const PayloadMembers& members,
                                           Json::Value& answer) noexcept {
    const MoxModuleManager* manager = MoxModuleManager::GetInstance();
    if (!manager) return {false, false};
    return ExecuteOn(EntryOf(*manager, module), module, data, &members, answer);
}

}  // namespace moxh5::detail

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
    moxh5::detail::PayloadMembers members;
    if (!moxh5::detail::DispatchedPayload::MembersOf(data.payload) &&
        !PayloadAccepted(data, kExistFunction, "canIUse", members))
        return false;
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
    const AskedName asked = ReadAskedName(name);
    const ModuleEntry* entry = FindModule(std::string(asked.module));
    if (!entry) return false;
    if (!asked.method) return true;
    return entry->exist_fn && entry->exist_fn(entry->worker, std::string(*asked.method)) &&
           moxh5::detail::MethodPermitted(data, asked.module, *asked.method);
}
