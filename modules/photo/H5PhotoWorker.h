// Worker of the module "JSPhoto": viewing, storing and downloading pictures through the host.
// Render-page answers start with "NoNeedUnifyCallBack": true; handlers that answer through the
// unified callback remove it. Its method table is filled as its methods are built; until then every
// method is answered "Invalid method.".
#pragma once

#include "core/detail/dispatch.h"
#include "moxh5/module_worker.h"

class H5PhotoWorker : public IModuleWorker {
public:
    H5PhotoWorker();
    bool Execute(const mox_module_data* data, Json::Value& answer) override;
    bool Exist(const std::string& method) override;

private:
    moxh5::detail::PlainMethodMap m_methods;
};
