#include <windows.h>
// After windows.h, whose definitions it needs.
#include <shellapi.h>

#include "moxh5/platform.h"

namespace moxh5::platform {
namespace {
ShellOpenHook g_shellOpenHook = nullptr;
}

void SetShellOpenHook(ShellOpenHook hook) { g_shellOpenHook = hook; }

uintptr_t ShellOpen(const std::wstring& target) {
    if (g_shellOpenHook) return g_shellOpenHook(target);
    const HINSTANCE result =
        ::ShellExecuteW(nullptr, L"open", target.c_str(), nullptr, nullptr, SW_SHOW);
    return reinterpret_cast<uintptr_t>(result);
}

}  // namespace moxh5::platform
