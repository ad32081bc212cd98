#include "system_probe.h"

#include "moxh5/platform.h"

namespace moxh5::test {

namespace platform = moxh5::platform;

bool ReplaceClipboard(const std::vector<ClipboardData>& items) {
    std::error_code error;
    if (!platform::ClipboardOpen(error)) return false;
    bool ok = platform::ClipboardEmpty(error);
    for (const ClipboardData& item : items) {
        ok = ok && platform::ClipboardSetBytes(item.first, item.second.data(), item.second.size(),
                                               error) == platform::ClipboardWriteFailure::kNone;
    }
    platform::ClipboardClose();
    return ok;
}

std::optional<std::wstring> ReadClipboardUnicodeText() {
    std::error_code error;
    if (!platform::ClipboardOpen(error)) return std::nullopt;
    std::optional<std::wstring> text;
    if (const auto data = platform::ClipboardGetData(platform::kClipboardUnicodeText)) {
        text = platform::Utf16ToWide(platform::ClipboardReadWideText(data));
    }
    platform::ClipboardClose();
    return text;
}

// No display library is part of the build here.
bool ScreenSizeIsReported() { return false; }

std::optional<int> SystemBitness() {
    if (sizeof(void*) == 8) return 64;
    return std::nullopt;
}

// The process-local clipboard tells openers apart by their thread.
bool OpenClipboardAsOtherOwner() {
    std::error_code error;
    return platform::ClipboardOpen(error);
}

void CloseClipboardAsOtherOwner() { platform::ClipboardClose(); }

}  // namespace moxh5::test
