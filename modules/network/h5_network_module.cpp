#include "core/dispatch/adapters.h"
#include "modules/module_adapters.h"
#include "modules/network/H5NetworkWorker.h"

MOX_DEFINE_MODULE_ADAPTERS(Network, H5NetworkWorker, H5NetworkWorker::kModuleName)
