#include "moxh5/shell_hook.h"

#include <type_traits>

#include "moxh5/platform.h"

static_assert(std::is_same_v<MoxShellOpenHook, moxh5::platform::ShellOpenHook>,
              "the library's seam hands the hook to the platform layer as it is");

void MoxSetShellOpenHook(MoxShellOpenHook hook) { moxh5::platform::SetShellOpenHook(hook); }
