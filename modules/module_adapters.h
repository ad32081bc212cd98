// The adapter sets of the seven modules: h5_<Module>_name, _create, _execute,
// _exist, and the registration record that bundles them.
#pragma once

#include <json/value.h>

#include <memory>
#include <string>

#include "moxh5/records.h"

#define MOX_DECLARE_MODULE_ADAPTERS(Module)                                                        \
    std::string h5_##Module##_name();                                                              \
    std::shared_ptr<IModuleWorker> h5_##Module##_create();                                         \
    bool h5_##Module##_execute(std::shared_ptr<IModuleWorker> worker, const mox_module_data* data, \
                               Json::Value& answer);                                               \
    bool h5_##Module##_exist(std::shared_ptr<IModuleWorker> worker, const std::string& method);    \
    mox_source_info_t h5_##Module##_source_info();

// The modules, under the names pages call them by: JSCallBasic, JSDevice,
// JSNetwork, JSPhoto, MMSSocket, JSStorage and JSCallNative.
MOX_DECLARE_MODULE_ADAPTERS(Basic)
MOX_DECLARE_MODULE_ADAPTERS(Device)
MOX_DECLARE_MODULE_ADAPTERS(Network)
MOX_DECLARE_MODULE_ADAPTERS(Photo)
MOX_DECLARE_MODULE_ADAPTERS(Socket)
MOX_DECLARE_MODULE_ADAPTERS(Storage)
MOX_DECLARE_MODULE_ADAPTERS(Native)

#undef MOX_DECLARE_MODULE_ADAPTERS
