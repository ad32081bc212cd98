#include "message_window_probe.h"

#include <windows.h>

namespace moxh5::test {

// A message-only window of the system's "STATIC" class: never shown, never
// enumerated, but it has a queue that posted messages reach.
MessageWindowProbe::MessageWindowProbe() {
    HWND window = ::CreateWindowExW(0, L"STATIC", L"moxh5 message probe", 0, 0, 0, 0, 0,
                                    HWND_MESSAGE, nullptr, ::GetModuleHandleW(nullptr), nullptr);
    m_window = reinterpret_cast<uintptr_t>(window);
}

MessageWindowProbe::~MessageWindowProbe() {
    if (m_window) ::DestroyWindow(reinterpret_cast<HWND>(m_window));
}

std::optional<ProbeMessage> MessageWindowProbe::Take(uint32_t message) {
    if (!m_window) return std::nullopt;
    MSG msg{};
    if (!::PeekMessageW(&msg, reinterpret_cast<HWND>(m_window), message, message, PM_REMOVE)) {
        return std::nullopt;
    }
    return ProbeMessage{msg.message, static_cast<uintptr_t>(msg.wParam),
                        static_cast<intptr_t>(msg.lParam)};
}

}  // namespace moxh5::test
