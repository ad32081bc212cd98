// MoxModuleManager: the one object the host sees.
//
// The host drives it in this order, once, before serving calls:
//   MoxModuleManager* manager = CSingleton<MoxModuleManager>::GetInstance();
//   manager->Init(userCenter, httpMonitor, configCallback);  // registers the 7 modules
//   manager->SetCallback(actionInterface);                   // before or after Create
//   manager->SetPagePolicy(policy);                          // optional: the safe default
//   manager->Create();                                       // builds one worker per module
// and then, once per script call from a page:
//   manager->Exist(request)                        -> is the module (or "Module.method") known?
//   manager->Execute(moduleName, request, answer)  -> (module registered, call handled)
// and, when a page closes or reloads:
//   manager->PageClosed(isWorker, webindex, workerid)
//
// Execute writes the immediate answer into `answer`; the host reads it and
// answers the page (or not, when the answer holds "NoNeedUnifyCallBack" or
// "AsynExec"). Calls that finish later answer through callBackToWebPage
// (moxh5/page_callback.h).
//
// Threads: Init, SetPagePolicy, Create and Register are start-up calls and must
// finish before the first Execute or Exist. After that the registry and the
// policy are only read: Execute and Exist may run on any threads at once.
// SetCallback and SetUserCenter may also be called while calls run (the
// pointers are atomic); the host keeps an interface it replaced alive until
// calls that may still use it have returned. PageClosed may run on any thread.
// Workers are held by shared pointers, so a worker lives as long as a call
// that uses it.
//
// No exception leaves a function of the manager: one thrown inside (a failed
// allocation) is logged at priority 300 ("[MoxH5] exception in <function>:
// <what>") and the call gives up (Create then returns false).
//
// Lifetime: the manager is built inside the library as the library loads and
// is never destroyed, so that host threads still answering pages or logging
// while the library unloads never meet a destroyed manager. It never owns or
// releases the host's interfaces.
#pragma once

#include <json/value.h>

#include <atomic>
#include <map>
#include <memory>
#include <string>
#include <tuple>

#include "moxh5/export.h"
#include "moxh5/host_interfaces.h"
#include "moxh5/module_worker.h"
#include "moxh5/page_policy.h"
#include "moxh5/records.h"

// Process-wide singleton holder. GetInstance returns a pointer to a
// function-local static, created on first use (thread-safe).
template <typename T>
class CSingleton {
public:
    static T* GetInstance();

    CSingleton() = default;
    CSingleton(const CSingleton&) = default;
    CSingleton(CSingleton&&) noexcept = default;
    CSingleton& operator=(const CSingleton&) = default;
    CSingleton& operator=(CSingleton&&) noexcept = default;
};

template <typename T>
T* CSingleton<T>::GetInstance() {
    static T instance;
    return &instance;
}

class MoxModuleManager;

// The manager's instance lives inside the library: the host must reach that
// one, not a copy of its own, so the accessor is defined in the library only.
template <>
MOXH5_API MoxModuleManager* CSingleton<MoxModuleManager>::GetInstance();

// Only the entry points a host calls are exported (MOXH5_API on each).
class MoxModuleManager {
public:
    // One registry entry: the registration record less its name, and the
    // worker built by Create (empty until then).
    struct ModuleEntry {
        std::string name;
        uint32_t reserved = 0;
        std::string (*name_fn)() = nullptr;
        std::shared_ptr<IModuleWorker> (*create_fn)() = nullptr;
        bool (*execute_fn)(std::shared_ptr<IModuleWorker>, const mox_module_data*,
                           Json::Value&) = nullptr;
        bool (*exist_fn)(std::shared_ptr<IModuleWorker>, const std::string&) = nullptr;
        std::shared_ptr<IModuleWorker> worker;
    };
    // Ordered by name; equal names coexist, the last registered serves.
    using Registry = std::multimap<std::string, ModuleEntry>;

    // Same as CSingleton<MoxModuleManager>::GetInstance().
    // Built as the library loads; null only when even that failed for lack of
    // memory.
    MOXH5_API static MoxModuleManager* GetInstance() noexcept;

    // Keeps the interfaces (not owned; either may be null) and the
    // configuration callable, then registers the seven modules: "JSCallBasic",
    // "JSDevice", "JSNetwork", "JSPhoto", "MMSSocket", "JSStorage",
    // "JSCallNative".
    MOXH5_API void Init(IUserCenter* userCenter, IHttpBusinessMonitorCallBack* httpBizMonitor,
                        MoxConfigCallback configCallback) noexcept;
    // Installs the action interface (not owned; null uninstalls). Safe while
    // calls run: a call sees the old interface or the new one.
    MOXH5_API void SetCallback(IH5ActionImplCallBack* callback) noexcept;
    // Installs or replaces the user centre that Init was given (not owned;
    // null uninstalls). Safe while calls run, like SetCallback.
    MOXH5_API void SetUserCenter(IUserCenter* userCenter) noexcept;

    // Replaces the page policy as a whole (moxh5/page_policy.h). A start-up
    // call, like SetCallback: the policy is read without locks afterwards.
    // Until it is called, the default (safe) policy is in force.
    MOXH5_API void SetPagePolicy(MoxPagePolicy policy) noexcept;
    const MoxPagePolicy& GetPagePolicy() const { return m_pagePolicy; }

    IH5ActionImplCallBack* GetCallback() const {
        return m_callback.load(std::memory_order_acquire);
    }
    IUserCenter* GetUserCenter() const { return m_userCenter.load(std::memory_order_acquire); }
    IHttpBusinessMonitorCallBack* GetHttpBizMonitor() const { return m_httpBizMonitor; }
    // A copy; empty when Init was given none.
    MoxConfigCallback GetConfigCallback() const { return m_configCallback; }

    // Adds a module. An existing entry of the same name is kept; the new one is
    // placed after it and serves from then on.
    MOXH5_API void Register(const mox_source_info_t& info) noexcept;
    // Builds the worker of every entry that has none yet. True unless a
    // worker could not be built.
    MOXH5_API bool Create() noexcept;

    // Runs one call on the module `name`. Returns (false, false) and leaves
    // `answer` untouched when no module of that name is registered; otherwise
    // (true, what the module's worker returned).
    //
    // No exception leaves Execute or Exist: one that a module lets escape (a
    // failed allocation, say) is logged at priority 300 with the method name
    // ("[MoxH5] exception in MoxModuleManager::Execute, method <m>: <what>")
    // and the call answers (true, false) here, false from Exist; `answer` may
    // then hold what the handler wrote before the throw.
    MOXH5_API std::tuple<bool, bool> Execute(const std::string& name, const mox_module_data& data,
                                             Json::Value& answer) noexcept;
    // Answers the page's "is it available?": payload params "name" is a module
    // name, or "Module.method" (further ".parts" are ignored).
    MOXH5_API bool Exist(const mox_h5_module_data& data) noexcept;

    // The host tells that a page closed or reloaded (for render pages
    // `workerid` is ignored). Answers of host work it started before are
    // dropped from then on (moxh5/page_callback.h); a new call of the page
    // under a callback id it used before is answered as usual.
    MOXH5_API void PageClosed(bool isWorker, int32_t webindex,
                              const std::string& workerid) noexcept;

    const Registry& Modules() const { return m_modules; }

protected:
    // Reached only through the singleton (and by test fixtures that need a
    // fresh registry).
    MoxModuleManager();
    ~MoxModuleManager();
    MoxModuleManager(const MoxModuleManager&) = delete;
    MoxModuleManager& operator=(const MoxModuleManager&) = delete;

private:
    friend class CSingleton<MoxModuleManager>;

    bool ExistUnguarded(const mox_h5_module_data& data);
    // The entry that serves `name` (the last registered), or null.
    const ModuleEntry* FindModule(const std::string& name) const;

    Registry m_modules;
    IHttpBusinessMonitorCallBack* m_httpBizMonitor = nullptr;
    std::atomic<IH5ActionImplCallBack*> m_callback{nullptr};
    std::atomic<IUserCenter*> m_userCenter{nullptr};
    MoxConfigCallback m_configCallback;
    MoxPagePolicy m_pagePolicy;
};
