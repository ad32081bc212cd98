#include "MsgCenter.h"

#include <charconv>
#include <cstring>
#include <optional>
#include <string>

#include "moxh5/platform.h"

namespace {

constexpr char kVariablePrefix[] = "MsgCenterInst";
// The host writes at most this many characters; more are not read.
constexpr size_t kMaxAddressChars = 49;
constexpr size_t kWindowField = 2;  // the third pointer-sized field

}  // namespace

void* GetMsgCenterInstance() {
    const std::optional<std::string> text = moxh5::platform::GetEnvironmentText(
        kVariablePrefix + std::to_string(moxh5::platform::CurrentProcessId()), kMaxAddressChars);
    if (!text) return nullptr;
    uintptr_t address = 0;
    const std::from_chars_result parsed =
        std::from_chars(text->data(), text->data() + text->size(), address);
    if (parsed.ec != std::errc()) return nullptr;
    return reinterpret_cast<void*>(address);
}

uintptr_t GetMsgCenterWindow() {
    const void* instance = GetMsgCenterInstance();
    if (!instance) return 0;
    // Copied out rather than read through a cast: the field is the host's
    // window handle type, not uintptr_t.
    uintptr_t window = 0;
    std::memcpy(&window, static_cast<const char*>(instance) + kWindowField * sizeof(void*),
                sizeof(window));
    return window;
}
