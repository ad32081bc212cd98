// Worker of the module "JSCallNative": the library's largest method table.
//
// Each JS name maps to two handler slots: slot 0 serves render pages, slot 1
// worker pages; an empty slot means the name is not served in that context.
// Every call starts with "NoNeedUnifyCallBack": true in the answer; handlers
// that answer through the unified callback remove it first. Every dispatched
// call is counted with the usage report 91936 before its handler runs.
//
// The table is filled as the handlers are built; a name without a handler is
// answered "Invalid method.".
#pragma once

#include "core/detail/dispatch.h"
#include "moxh5/module_worker.h"

class H5NativeWorker : public IModuleWorker {
public:
    H5NativeWorker();
    bool Execute(const mox_module_data* data, Json::Value& answer) override;
    bool Exist(const std::string& method) override;

private:
    moxh5::detail::ContextMethodMap m_methods;
};
