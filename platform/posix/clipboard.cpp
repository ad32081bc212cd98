// A clipboard local to the process, with the Windows clipboard's rules (see
// platform.h). It takes no locks: the clipboard belongs to the one thread
// that opened it (an atomic compare-and-swap, which fails rather than waits
// when another thread holds it), and its contents are touched only by that
// thread. Registered format names live in an append-only table of atomic
// slots.
#include <array>
#include <atomic>
#include <cstring>
#include <map>
#include <new>

#include "moxh5/platform.h"

namespace moxh5::platform {
namespace {

constexpr uint32_t kFirstRegisteredFormat = 0xC000;
constexpr size_t kMaxRegisteredFormats = 256;

// Names of the registered formats, slot i holding format 0xC000 + i. Slots
// are filled once and never emptied; the names live as long as the process,
// as registered formats do on Windows.
std::array<std::atomic<const std::string*>, kMaxRegisteredFormats> g_formatNames{};

// The thread that has the clipboard open (the address of its token), or 0.
std::atomic<uintptr_t> g_opener{0};

struct Contents {
    std::map<uint32_t, std::string> formats;  // as set
    std::map<uint32_t, std::string> derived;  // text formats converted on read
};
// Never destroyed: host threads may use the clipboard while the library
// unloads (docs/architecture.md, "Statics").
Contents& TheContents() {
    static Contents& contents = *new Contents;
    return contents;
}

uintptr_t ThisThread() {
    thread_local const char token = 0;
    return reinterpret_cast<uintptr_t>(&token);
}

bool OpenedHere() { return g_opener.load(std::memory_order_relaxed) == ThisThread(); }

bool TryOpen() {
    uintptr_t none = 0;
    return g_opener.compare_exchange_strong(none, ThisThread(), std::memory_order_acquire,
                                            std::memory_order_relaxed);
}

void Release() { g_opener.store(0, std::memory_order_release); }

bool SameNameIgnoringCase(const std::string& a, const std::string& b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i) {
        const auto lower = [](char c) { return (c >= 'A' && c <= 'Z') ? char(c - 'A' + 'a') : c; };
        if (lower(a[i]) != lower(b[i])) return false;
    }
    return true;
}

// The text format that the other one is converted from.
uint32_t SourceOfDerived(uint32_t format) {
    if (format == kClipboardText) return kClipboardUnicodeText;
    if (format == kClipboardUnicodeText) return kClipboardText;
    return 0;
}

bool Holds(const Contents& contents, uint32_t format) {
    if (contents.formats.count(format)) return true;
    const uint32_t source = SourceOfDerived(format);
    return source != 0 && contents.formats.count(source) != 0;
}

// Stored text without its terminator and anything after it.
std::string NarrowUpToNul(const std::string& bytes) { return bytes.substr(0, bytes.find('\0')); }

// Stored bytes as 16-bit units in the machine's byte order, as they were set.
std::u16string WideUpToZero(const std::string& bytes) {
    std::u16string units;
    for (size_t i = 0; i + sizeof(char16_t) <= bytes.size(); i += sizeof(char16_t)) {
        char16_t unit = 0;
        std::memcpy(&unit, bytes.data() + i, sizeof unit);
        if (unit == 0) break;
        units += unit;
    }
    return units;
}

std::string WideBytes(const std::u16string& units) {
    // c_str() brings the zero unit that ends the text.
    return std::string(reinterpret_cast<const char*>(units.c_str()),
                       (units.size() + 1) * sizeof(char16_t));
}

// The stored bytes of `format`, converting the other text format when only
// that one was set.
const std::string* Find(Contents& contents, uint32_t format) {
    const auto set = contents.formats.find(format);
    if (set != contents.formats.end()) return &set->second;
    const auto source = contents.formats.find(SourceOfDerived(format));
    if (source == contents.formats.end()) return nullptr;
    std::string converted =
        format == kClipboardText
            ? NarrowUpToNul(WideToUtf8(Utf16ToWide(WideUpToZero(source->second)))) + '\0'
            : WideBytes(WideToUtf16(Utf8ToWide(NarrowUpToNul(source->second))));
    return &(contents.derived[format] = std::move(converted));
}

const std::string* Stored(ClipboardHandle data) {
    return static_cast<const std::string*>(data.value);
}

}  // namespace

uint32_t RegisterClipboardFormatName(const std::string& name) {
    if (name.empty()) return 0;
    for (size_t slot = 0; slot < kMaxRegisteredFormats; ++slot) {
        const std::string* held = g_formatNames[slot].load(std::memory_order_acquire);
        if (!held) {
            const std::string* mine = new (std::nothrow) std::string(name);
            if (!mine) return 0;
            if (g_formatNames[slot].compare_exchange_strong(held, mine,
                                                            std::memory_order_acq_rel)) {
                return kFirstRegisteredFormat + static_cast<uint32_t>(slot);
            }
            delete mine;  // another thread took the slot: `held` is its name
        }
        if (SameNameIgnoringCase(*held, name)) {
            return kFirstRegisteredFormat + static_cast<uint32_t>(slot);
        }
    }
    return 0;
}

bool ClipboardOpen(std::error_code& error) {
    if (TryOpen()) return true;
    error = std::make_error_code(std::errc::device_or_resource_busy);
    return false;
}

bool ClipboardEmpty(std::error_code& error) {
    if (!OpenedHere()) {
        error = std::make_error_code(std::errc::operation_not_permitted);
        return false;
    }
    TheContents().formats.clear();
    TheContents().derived.clear();
    return true;
}

void ClipboardClose() {
    if (OpenedHere()) Release();
}

bool ClipboardHasFormat(uint32_t format) {
    if (OpenedHere()) return Holds(TheContents(), format);
    if (!TryOpen()) return false;  // another thread is changing it
    const bool held = Holds(TheContents(), format);
    Release();
    return held;
}

ClipboardHandle ClipboardGetData(uint32_t format) {
    if (!OpenedHere()) return {};
    try {
        return ClipboardHandle{Find(TheContents(), format)};
    } catch (const std::bad_alloc&) {
        return {};
    }
}

ClipboardWriteFailure ClipboardSetBytes(uint32_t format, const void* bytes, size_t size,
                                        std::error_code& error) {
    std::string block;
    try {
        block.assign(static_cast<const char*>(bytes), size);
    } catch (const std::bad_alloc&) {
        error = std::make_error_code(std::errc::not_enough_memory);
        return ClipboardWriteFailure::kAllocation;
    }
    if (!OpenedHere() || format == 0) {
        error = std::make_error_code(OpenedHere() ? std::errc::invalid_argument
                                                  : std::errc::operation_not_permitted);
        return ClipboardWriteFailure::kHandOver;
    }
    try {
        Contents& contents = TheContents();
        contents.derived.clear();
        contents.formats[format] = std::move(block);
    } catch (const std::bad_alloc&) {
        error = std::make_error_code(std::errc::not_enough_memory);
        return ClipboardWriteFailure::kHandOver;
    }
    return ClipboardWriteFailure::kNone;
}

std::string ClipboardReadNarrowText(ClipboardHandle data) {
    return data ? NarrowUpToNul(*Stored(data)) : std::string();
}

std::u16string ClipboardReadWideText(ClipboardHandle data) {
    return data ? WideUpToZero(*Stored(data)) : std::u16string();
}

}  // namespace moxh5::platform
