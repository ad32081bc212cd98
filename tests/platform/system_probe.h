// The system's clipboard reached around the library, for tests: on Windows
// through the Win32 API, elsewhere through the OS layer's process-local
// clipboard (the system clipboard there).
#pragma once

#include <cstdint>
#include <future>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace moxh5::test {

// Data put under a format: the bytes as stored, except that on Windows
// CF_HDROP bytes (UTF-16 paths, each zero-terminated) are wrapped in a
// DROPFILES record and CF_BITMAP gets a 1 x 1 bitmap whatever the bytes.
using ClipboardData = std::pair<uint32_t, std::string>;

// UTF-16 text with its zero unit, as clipboard bytes.
inline std::string Utf16Bytes(const std::u16string& text) {
    return std::string(reinterpret_cast<const char*>(text.c_str()),
                       (text.size() + 1) * sizeof(char16_t));
}

// Empties the clipboard and puts `items` on it; false when refused.
bool ReplaceClipboard(const std::vector<ClipboardData>& items);
// The clipboard's CF_UNICODETEXT, or nothing.
std::optional<std::wstring> ReadClipboardUnicodeText();
// Whether the platform reports a real screen size (else 0 x 0).
bool ScreenSizeIsReported();
// The operating system's bitness as the system itself reports it (Windows:
// the native processor architecture, which a 32-bit program on 64-bit
// Windows sees as 64-bit), or nothing where this probe cannot tell.
std::optional<int> SystemBitness();

// Opens the clipboard on the calling thread as an owner other than the
// library, or closes it (Windows tells openers apart by their window).
bool OpenClipboardAsOtherOwner();
void CloseClipboardAsOtherOwner();

// Keeps the clipboard open on another thread while it lives. Held() is false
// when the other thread could not open it, e.g. because it was left open.
class ClipboardHeldElsewhere {
public:
    ClipboardHeldElsewhere()
        : m_thread([this] {
              const bool held = OpenClipboardAsOtherOwner();
              m_opened.set_value(held);
              m_release.get_future().wait();
              if (held) CloseClipboardAsOtherOwner();
          }),
          m_held(m_opened.get_future().get()) {}
    ~ClipboardHeldElsewhere() {
        m_release.set_value();
        m_thread.join();
    }
    bool Held() const { return m_held; }

private:
    std::promise<bool> m_opened;
    std::promise<void> m_release;
    std::thread m_thread;
    bool m_held;
};

}  // namespace moxh5::test
