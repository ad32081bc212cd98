#include "core/dispatch/adapters.h"
#include "modules/basic/H5BasicWorker.h"
#include "modules/module_adapters.h"

MOX_DEFINE_MODULE_ADAPTERS(Basic, H5BasicWorker, H5BasicWorker::kModuleName)
