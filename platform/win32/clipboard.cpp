// The Win32 clipboard. Data travels in movable global memory blocks; the
// clipboard owns a block once SetClipboardData accepted it.
#include <windows.h>

#include <cstring>

#include "moxh5/platform.h"

namespace moxh5::platform {
namespace {

std::error_code LastError() {
    return std::error_code(static_cast<int>(::GetLastError()), std::system_category());
}

HANDLE AsHandle(ClipboardHandle data) { return const_cast<void*>(data.value); }

// The locked bytes of a global memory block; unlocked when this goes away.
class LockedBlock {
public:
    explicit LockedBlock(HANDLE block) : m_block(block), m_bytes(::GlobalLock(block)) {}
    ~LockedBlock() {
        if (m_bytes) ::GlobalUnlock(m_block);
    }
    LockedBlock(const LockedBlock&) = delete;
    LockedBlock& operator=(const LockedBlock&) = delete;

    void* Bytes() const { return m_bytes; }
    // The block's size; a lock may be asked for text that is not terminated.
    size_t Size() const { return ::GlobalSize(m_block); }

private:
    HANDLE m_block;
    void* m_bytes;
};

// The text units of a locked block, up to the first zero unit or the block's
// end, whichever comes first.
template <typename Unit>
std::basic_string<Unit> ReadUnits(ClipboardHandle data) {
    if (!data) return {};
    const LockedBlock block(AsHandle(data));
    if (!block.Bytes()) return {};
    const Unit* units = static_cast<const Unit*>(block.Bytes());
    const size_t capacity = block.Size() / sizeof(Unit);
    size_t length = 0;
    while (length < capacity && units[length] != 0) ++length;
    return std::basic_string<Unit>(units, length);
}

}  // namespace

uint32_t RegisterClipboardFormatName(const std::string& name) {
    return ::RegisterClipboardFormatW(Utf8ToWide(name).c_str());
}

bool ClipboardOpen(std::error_code& error) {
    if (::OpenClipboard(nullptr)) return true;
    error = LastError();
    return false;
}

bool ClipboardEmpty(std::error_code& error) {
    if (::EmptyClipboard()) return true;
    error = LastError();
    return false;
}

void ClipboardClose() { ::CloseClipboard(); }

bool ClipboardHasFormat(uint32_t format) { return ::IsClipboardFormatAvailable(format) != FALSE; }

ClipboardHandle ClipboardGetData(uint32_t format) {
    return ClipboardHandle{::GetClipboardData(format)};
}

ClipboardWriteFailure ClipboardSetBytes(uint32_t format, const void* bytes, size_t size,
                                        std::error_code& error) {
    const HGLOBAL block = ::GlobalAlloc(GMEM_MOVEABLE, size);
    if (!block) {
        error = LastError();
        return ClipboardWriteFailure::kAllocation;
    }
    {
        const LockedBlock locked(block);
        if (!locked.Bytes()) {
            error = LastError();
            ::GlobalFree(block);
            return ClipboardWriteFailure::kAllocation;
        }
        if (size) std::memcpy(locked.Bytes(), bytes, size);
    }
    if (!::SetClipboardData(format, block)) {
        // The block is not freed: after a refused hand-over it is not certain
        // that nothing refers to it any more, and one lost block is the
        // smaller harm than a block freed twice.
        error = LastError();
        return ClipboardWriteFailure::kHandOver;
    }
    return ClipboardWriteFailure::kNone;
}

std::string ClipboardReadNarrowText(ClipboardHandle data) { return ReadUnits<char>(data); }

std::u16string ClipboardReadWideText(ClipboardHandle data) { return ReadUnits<char16_t>(data); }

}  // namespace moxh5::platform
