#include "core/dispatch/adapters.h"
#include "modules/module_adapters.h"
#include "modules/photo/H5PhotoWorker.h"

MOX_DEFINE_MODULE_ADAPTERS(Photo, H5PhotoWorker, H5PhotoWorker::kModuleName)
