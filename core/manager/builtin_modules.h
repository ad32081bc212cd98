// The modules built into the library, registered by MoxModuleManager::Init.
// The manager knows none of them: the list lives with the modules
// (modules/builtin_modules.cpp), so adding a module never touches the core.
#pragma once

class MoxModuleManager;

namespace moxh5::detail {

// Registers every built-in module with `manager`, in the order they serve.
void RegisterBuiltInModules(MoxModuleManager& manager);

}  // namespace moxh5::detail
