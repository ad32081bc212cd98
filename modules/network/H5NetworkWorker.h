// Worker of the module "JSNetwork": network requests of render pages and HTTP requests of worker
// pages, performed by the host. Its method table is filled as its methods are built; until then
// every method is answered "Invalid method.".
#pragma once

#include "core/detail/dispatch.h"
#include "moxh5/module_worker.h"

class H5NetworkWorker : public IModuleWorker {
public:
    H5NetworkWorker();
    bool Execute(const mox_module_data* data, Json::Value& answer) override;
    bool Exist(const std::string& method) override;

private:
    moxh5::detail::PlainMethodMap m_methods;
};
