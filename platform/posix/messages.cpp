// POSIX desktops have no message windows of the Windows kind: every post
// fails, and says why.
#include "moxh5/platform.h"

namespace moxh5::platform {
namespace {
PostWindowMessageHook g_postHook = nullptr;
}

void SetPostWindowMessageHook(PostWindowMessageHook hook) { g_postHook = hook; }

PostResult PostWindowMessage(uintptr_t window, uint32_t message, uintptr_t wParam,
                             intptr_t lParam) {
    if (g_postHook) return g_postHook(window, message, wParam, lParam);
    return PostResult::kNoWindowSystem;
}

}  // namespace moxh5::platform
