// UTF-8 <-> UTF-32 and UTF-32 <-> UTF-16 for platforms whose wchar_t is 32-bit.
#include <cstdint>

#include "moxh5/platform.h"
#include "moxh5/utf8.h"

static_assert(sizeof(wchar_t) == 4, "the POSIX text layer expects a 32-bit wchar_t");

namespace moxh5::platform {
namespace {

using utf8::kReplacement;

bool IsContinuation(unsigned char c) { return (c & 0xC0) == 0x80; }

// Decodes one code point starting at in[pos] and advances pos. Overlong forms,
// surrogates and values above U+10FFFF are rejected as one invalid byte.
char32_t DecodeOne(std::string_view in, size_t& pos) {
    const unsigned char lead = static_cast<unsigned char>(in[pos]);
    if (lead < 0x80) {
        ++pos;
        return lead;
    }
    size_t length = 0;
    char32_t cp = 0;
    char32_t minimum = 0;
    if ((lead & 0xE0) == 0xC0) {
        length = 2, cp = lead & 0x1F, minimum = 0x80;
    } else if ((lead & 0xF0) == 0xE0) {
        length = 3, cp = lead & 0x0F, minimum = 0x800;
    } else if ((lead & 0xF8) == 0xF0) {
        length = 4, cp = lead & 0x07, minimum = 0x10000;
    } else {
        ++pos;
        return kReplacement;
    }
    if (pos + length > in.size()) {
        ++pos;
        return kReplacement;
    }
    for (size_t i = 1; i < length; ++i) {
        const unsigned char c = static_cast<unsigned char>(in[pos + i]);
        if (!IsContinuation(c)) {
            ++pos;
            return kReplacement;
        }
        cp = (cp << 6) | (c & 0x3F);
    }
    if (cp < minimum || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) {
        ++pos;
        return kReplacement;
    }
    pos += length;
    return cp;
}

}  // namespace

std::wstring Utf8ToWide(std::string_view utf8) {
    std::wstring out;
    out.reserve(utf8.size());
    for (size_t pos = 0; pos < utf8.size();) out += static_cast<wchar_t>(DecodeOne(utf8, pos));
    return out;
}

std::string WideToUtf8(std::wstring_view wide) {
    std::string out;
    out.reserve(wide.size());
    for (wchar_t c : wide) utf8::Append(out, static_cast<char32_t>(static_cast<uint32_t>(c)));
    return out;
}

std::u16string WideToUtf16(std::wstring_view wide) {
    std::u16string out;
    out.reserve(wide.size());
    for (wchar_t c : wide) {
        char32_t cp = static_cast<char32_t>(static_cast<uint32_t>(c));
        if (cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) cp = kReplacement;
        if (cp < 0x10000) {
            out += static_cast<char16_t>(cp);
        } else {
            cp -= 0x10000;
            out += static_cast<char16_t>(0xD800 + (cp >> 10));
            out += static_cast<char16_t>(0xDC00 + (cp & 0x3FF));
        }
    }
    return out;
}

std::wstring Utf16ToWide(std::u16string_view utf16) {
    std::wstring out;
    out.reserve(utf16.size());
    for (size_t i = 0; i < utf16.size(); ++i) {
        const char32_t unit = utf16[i];
        const bool high = unit >= 0xD800 && unit <= 0xDBFF;
        const bool low = unit >= 0xDC00 && unit <= 0xDFFF;
        if (high && i + 1 < utf16.size() && utf16[i + 1] >= 0xDC00 && utf16[i + 1] <= 0xDFFF) {
            const char32_t next = utf16[++i];
            out += static_cast<wchar_t>(0x10000 + ((unit - 0xD800) << 10) + (next - 0xDC00));
        } else {
            out += static_cast<wchar_t>((high || low) ? kReplacement : unit);
        }
    }
    return out;
}

}  // namespace moxh5::platform
