#include "core/dispatch/adapters.h"
#include "modules/module_adapters.h"
#include "modules/socket/H5SocketWorker.h"

MOX_DEFINE_MODULE_ADAPTERS(Socket, H5SocketWorker, H5SocketWorker::kModuleName)
