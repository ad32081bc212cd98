#include "system_probe.h"

#include <shlobj.h>
#include <windows.h>

#include <cstring>

namespace moxh5::test {
namespace {

thread_local HWND t_owner = nullptr;

// Another program may hold the clipboard for a moment.
bool OpenWithRetries() {
    for (int attempt = 0; attempt < 50; ++attempt) {
        if (::OpenClipboard(nullptr)) return true;
        ::Sleep(10);
    }
    return false;
}

HANDLE Block(const std::string& bytes) {
    const HGLOBAL block = ::GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, bytes.size() + 2);
    if (block) {
        std::memcpy(::GlobalLock(block), bytes.data(), bytes.size());
        ::GlobalUnlock(block);
    }
    return block;
}

HANDLE HandleFor(const ClipboardData& item) {
    if (item.first == CF_BITMAP) {
        const uint32_t pixel = 0x00FF00FF;
        return ::CreateBitmap(1, 1, 1, 32, &pixel);
    }
    if (item.first != CF_HDROP) return Block(item.second);
    DROPFILES header{};
    header.pFiles = sizeof header;
    header.fWide = TRUE;
    return Block(std::string(reinterpret_cast<const char*>(&header), sizeof header) + item.second);
}

}  // namespace

bool ReplaceClipboard(const std::vector<ClipboardData>& items) {
    if (!OpenWithRetries()) return false;
    bool ok = ::EmptyClipboard();
    for (const ClipboardData& item : items)
        ok = ok && ::SetClipboardData(item.first, HandleFor(item));
    ::CloseClipboard();
    return ok;
}

std::optional<std::wstring> ReadClipboardUnicodeText() {
    if (!OpenWithRetries()) return std::nullopt;
    std::optional<std::wstring> text;
    if (const HANDLE data = ::GetClipboardData(CF_UNICODETEXT)) {
        text = static_cast<const wchar_t*>(::GlobalLock(data));
        ::GlobalUnlock(data);
    }
    ::CloseClipboard();
    return text;
}

bool ScreenSizeIsReported() { return true; }

std::optional<int> SystemBitness() {
    SYSTEM_INFO info{};
    ::GetNativeSystemInfo(&info);
    switch (info.wProcessorArchitecture) {
        case PROCESSOR_ARCHITECTURE_AMD64:
        case PROCESSOR_ARCHITECTURE_ARM64:
            return 64;
        case PROCESSOR_ARCHITECTURE_INTEL:
            return 32;
        default:
            return std::nullopt;
    }
}

bool OpenClipboardAsOtherOwner() {
    t_owner = ::CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr,
                                nullptr);
    return t_owner && ::OpenClipboard(t_owner);
}

void CloseClipboardAsOtherOwner() {
    ::CloseClipboard();
    ::DestroyWindow(t_owner);
}

}  // namespace moxh5::test
