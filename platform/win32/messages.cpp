// Posting window messages to other threads' windows.
#include <windows.h>

#include "moxh5/platform.h"

namespace moxh5::platform {
namespace {
PostWindowMessageHook g_postHook = nullptr;
}

void SetPostWindowMessageHook(PostWindowMessageHook hook) { g_postHook = hook; }

PostResult PostWindowMessage(uintptr_t window, uint32_t message, uintptr_t wParam,
                             intptr_t lParam) {
    if (g_postHook) return g_postHook(window, message, wParam, lParam);
    if (window == 0) return PostResult::kRefused;
    const BOOL posted = ::PostMessageW(reinterpret_cast<HWND>(window), message,
                                       static_cast<WPARAM>(wParam), static_cast<LPARAM>(lParam));
    return posted ? PostResult::kPosted : PostResult::kRefused;
}

}  // namespace moxh5::platform
