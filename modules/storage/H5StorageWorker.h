// Worker of the module "JSStorage": the clipboard.
//
// Unlike the other workers it answers render pages itself: Execute hands each
// handler an answer function that passes the finished answer to the host's
// RenderJsCallback and then marks it "NoNeedUnifyCallBack", so the unified
// callback stays silent. Worker pages get no answer from this module.
// Every call answers exactly once, an unknown method included.
//
// Its method table is filled as its methods are built; until then every
// method is answered "Invalid method.".
#pragma once

#include "core/detail/dispatch.h"
#include "moxh5/module_worker.h"

class H5StorageWorker : public IModuleWorker {
public:
    H5StorageWorker();
    bool Execute(const mox_module_data* data, Json::Value& answer) override;
    bool Exist(const std::string& method) override;

private:
    moxh5::detail::CompletionMethodMap m_methods;
};
