#include "core/dispatch/adapters.h"
#include "modules/device/H5DeviceWorker.h"
#include "modules/module_adapters.h"

MOX_DEFINE_MODULE_ADAPTERS(Device, H5DeviceWorker, H5DeviceWorker::kModuleName)
