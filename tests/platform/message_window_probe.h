// A real, hidden message window on the calling thread, where the platform has
// windows (Windows): the test can post to it and take what arrived. Elsewhere
// the probe has no window (Handle() is 0) and never receives anything.
#pragma once

#include <cstdint>
#include <optional>

namespace moxh5::test {

struct ProbeMessage {
    uint32_t message = 0;
    uintptr_t wParam = 0;
    intptr_t lParam = 0;
};

class MessageWindowProbe {
public:
    MessageWindowProbe();
    ~MessageWindowProbe();
    MessageWindowProbe(const MessageWindowProbe&) = delete;
    MessageWindowProbe& operator=(const MessageWindowProbe&) = delete;

    // The window's handle (an HWND), or 0 where there are no windows.
    uintptr_t Handle() const { return m_window; }

    // Removes the next message numbered `message` from the window's queue;
    // nullopt when none is waiting.
    std::optional<ProbeMessage> Take(uint32_t message);

private:
    uintptr_t m_window = 0;
};

}  // namespace moxh5::test
