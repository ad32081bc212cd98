#include "core/manager/builtin_modules.h"

#include "modules/module_adapters.h"
#include "moxh5/module_manager.h"

namespace moxh5::detail {

void RegisterBuiltInModules(MoxModuleManager& manager) {
    // The native module comes last on purpose: it is the largest and the
    // other modules do not depend on it.
    manager.Register(h5_Basic_source_info());
    manager.Register(h5_Device_source_info());
    manager.Register(h5_Network_source_info());
    manager.Register(h5_Photo_source_info());
    manager.Register(h5_Socket_source_info());
    manager.Register(h5_Storage_source_info());
    manager.Register(h5_Native_source_info());
}

}  // namespace moxh5::detail
