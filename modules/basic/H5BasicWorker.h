// Worker of the module "JSCallBasic": what every page needs first.
//   "canIUse" - whether a module ("JSStorage") or a module's method
//               ("JSStorage.setPasteboard") exists; the answer is the call's
//               result, `answer` stays untouched.
//   "setLog"  - writes params "content" into the host's log at the level named
//               by params "logLevel" ("debug", "info", "notice", "warning",
//               "error", "critical", "alert"; exact, case-sensitive).
#pragma once

#include "core/dispatch/dispatch.h"
#include "moxh5/module_worker.h"

class H5BasicWorker : public IModuleWorker {
public:
    // The module name pages call.
    static constexpr char kModuleName[] = "JSCallBasic";

    H5BasicWorker();
    bool Execute(const mox_module_data* data, Json::Value& answer) override;
    bool Exist(const std::string& method) override;
    // The whole method map, read-only: every name this worker answers to.
    const moxh5::detail::PlainMethodMap& Methods() const { return m_methods; }

    static bool canIUse(const mox_h5_module_data* data, Json::Value& answer);
    static bool setLog(const mox_h5_module_data* data, Json::Value& answer);

private:
    moxh5::detail::PlainMethodMap m_methods;
};
