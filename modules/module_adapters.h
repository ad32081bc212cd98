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

MOX_DECLARE_MODULE_ADAPTERS(Basic)    // "JSCallBasic"
MOX_DECLARE_MODULE_ADAPTERS(Device)   // "JSDevice"
MOX_DECLARE_MODULE_ADAPTERS(Network)  // "JSNetwork"
MOX_DECLARE_MODULE_ADAPTERS(Photo)    // "JSPhoto"
MOX_DECLARE_MODULE_ADAPTERS(Socket)   // "MMSSocket"
MOX_DECLARE_MODULE_ADAPTERS(Storage)  // "JSStorage"
MOX_DECLARE_MODULE_ADAPTERS(Native)   // "JSCallNative"

#undef MOX_DECLARE_MODULE_ADAPTERS
