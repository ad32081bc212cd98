#include "core/dispatch/adapters.h"
#include "modules/module_adapters.h"
#include "modules/native/H5NativeWorker.h"

MOX_DEFINE_MODULE_ADAPTERS(Native, H5NativeWorker, H5NativeWorker::kModuleName)
