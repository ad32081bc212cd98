// windows.h first: shellapi.h builds on its declarations.
// clang-format off
#include <windows.h>
#include <shellapi.h>
// clang-format on

#include "moxh5/platform.h"

namespace moxh5::platform {
namespace {
ShellOpenHook g_shellOpenHook = nullptr;
}

void SetShellOpenHook(ShellOpenHook hook) { g_shellOpenHook = hook; }

uintptr_t ShellOpen(const std::wstring& target) {
    if (g_shellOpenHook) return g_shellOpenHook(target);
    const HINSTANCE result =
        ::ShellExecuteW(nullptr, L"open", target.c_str(), nullptr, nullptr, SW_SHOWNORMAL);
    return reinterpret_cast<uintptr_t>(result);
}

}  // namespace moxh5::platform
