#include "core/dispatch/adapters.h"
#include "modules/module_adapters.h"
#include "modules/storage/H5StorageWorker.h"

MOX_DEFINE_MODULE_ADAPTERS(Storage, H5StorageWorker, H5StorageWorker::kModuleName)
