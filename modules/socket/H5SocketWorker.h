// Worker of the module "MMSSocket": messages and commands over the host's message connection.
// Its method table is filled as its methods are built; until then every
// method is answered "Invalid method.".
#pragma once

#include "core/detail/dispatch.h"
#include "moxh5/module_worker.h"

class H5SocketWorker : public IModuleWorker {
public:
    H5SocketWorker();
    bool Execute(const mox_module_data* data, Json::Value& answer) override;
    bool Exist(const std::string& method) override;

private:
    moxh5::detail::PlainMethodMap m_methods;
};
