#include "diagnostics.h"

#include <charconv>
#include <cstdint>
#include <cstdarg>
#include <cstdio>

#include "json_text.h"

namespace moxh5::detail {
namespace {

// Room kept free at the end of a cut line for "...[cut <20 digits> bytes]".
constexpr size_t kCutMarkRoom = 40;

// A log line's text as the sink receives it: at most kMaxLogLineBytes bytes
// and a terminating NUL, built without allocating.
class LineText {
public:
    // Escapes `raw`, the first bytes of a text `total` bytes long, cutting
    // it when it does not fit whole.
    LineText(std::string_view raw, size_t total) {
        size_t consumed = 0;
        size_t keptAtCut = 0;
        size_t consumedAtCut = 0;
        // Where the bytes kept one for one begin again after an escaped code
        // point: a cut never backs up past it.
        size_t floor = 0;
        size_t floorAtCut = 0;
        while (consumed < raw.size()) {
            uint32_t code = 0;
            const size_t length = EscapedCodePoint(raw.substr(consumed), code);
            if (length ? !EscapeCodePoint(code) : !Escape(static_cast<unsigned char>(raw[consumed]))) {
                break;
            }
            consumed += length ? length : 1;
            if (length) floor = consumed;
            if (m_size <= kMaxLogLineBytes - kCutMarkRoom) {
                keptAtCut = m_size;
                consumedAtCut = consumed;
                floorAtCut = floor;
            }
        }
        if (consumed < total) Cut(raw, total, keptAtCut, consumedAtCut, floorAtCut);
        m_text[m_size] = '\0';
    }

    const char* c_str() const { return m_text; }
    std::string_view view() const { return {m_text, m_size}; }

private:
    static bool IsContinuation(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }
    static bool IsMultibyte(char c) { return static_cast<unsigned char>(c) >= 0x80; }

    // The length of the UTF-8 sequence `rest` starts with when it encodes a
    // code point that would break the line or reorder what a log viewer shows
    // (C1 controls, U+0085 among them; the line and paragraph separators;
    // the bidirectional marks, embeddings, overrides and isolates), with the
    // code point in `code`; 0 for anything else.
    static size_t EscapedCodePoint(std::string_view rest, uint32_t& code) {
        const auto at = [&rest](size_t i) {
            return i < rest.size() ? static_cast<unsigned char>(rest[i]) : 0u;
        };
        if (at(0) == 0xC2 && at(1) >= 0x80 && at(1) <= 0x9F) {
            code = at(1);
            return 2;
        }
        if (at(0) == 0xD8 && at(1) == 0x9C) {
            code = 0x61C;
            return 2;
        }
        if (at(0) != 0xE2) return 0;
        const unsigned second = at(1), third = at(2);
        if ((second == 0x80 &&
             (third == 0x8E || third == 0x8F || (third >= 0xA8 && third <= 0xAE))) ||
            (second == 0x81 && third >= 0xA6 && third <= 0xA9)) {
            code = 0x2000 + ((second & 0x3F) << 6) + (third & 0x3F);
            return 3;
        }
        return 0;
    }

    // Appends "\uXXXX"; false when it does not fit.
    bool EscapeCodePoint(uint32_t code) {
        static const char kHex[] = "0123456789abcdef";
        if (m_size + 6 > kMaxLogLineBytes) return false;
        m_text[m_size++] = '\\';
        m_text[m_size++] = 'u';
        for (int shift = 12; shift >= 0; shift -= 4) m_text[m_size++] = kHex[(code >> shift) & 0xF];
        return true;
    }

    // Appends one byte as the line shows it; false when it does not fit.
    bool Escape(unsigned char c) {
        static const char kHex[] = "0123456789abcdef";
        char escaped[4] = {static_cast<char>(c)};
        size_t size = 1;
        if (c < 0x20 || c == 0x7F) {
            escaped[0] = '\\';
            escaped[1] = c == '\n' ? 'n' : c == '\r' ? 'r' : c == '\t' ? 't' : 'x';
            size = 2;
            if (escaped[1] == 'x') {
                escaped[2] = kHex[c >> 4];
                escaped[3] = kHex[c & 0xF];
                size = 4;
            }
        }
        if (m_size + size > kMaxLogLineBytes) return false;
        for (size_t i = 0; i < size; ++i) m_text[m_size++] = escaped[i];
        return true;
    }

    // Keeps the text up to the last byte that leaves room for the mark, but
    // not the start of a character cut off there; then writes the mark.
    void Cut(std::string_view raw, size_t total, size_t kept, size_t consumed, size_t floor) {
        // Bytes of 0x80 and above are kept as they are, one for one, after
        // `floor`.
        for (int i = 0; i < 3 && consumed > floor && consumed < raw.size() &&
                        IsContinuation(raw[consumed]) && IsMultibyte(raw[consumed - 1]);
             ++i) {
            --consumed;
            --kept;
        }
        m_size = kept;
        Append("...[cut ");
        char digits[24];
        const std::to_chars_result written =
            std::to_chars(digits, digits + sizeof digits, total - consumed);
        Append(std::string_view(digits, static_cast<size_t>(written.ptr - digits)));
        Append(" bytes]");
    }

    void Append(std::string_view text) {
        for (char c : text) m_text[m_size++] = c;
    }

    char m_text[kMaxLogLineBytes + 1];
    size_t m_size = 0;
};

void Emit(int priority, const char* file, int line, const char* function, std::string_view raw,
          size_t total) noexcept {
    const LineText text(raw, total);
    try {
        CMoxLog::MoxLog(priority, file, line, function, text.c_str());
    } catch (...) {
        // A line the host's log cannot take is lost; the call goes on.
    }
}

// What vsnprintf wrote into `buffer` of a text `size` bytes long.
std::string_view Formatted(const char* buffer, int size) {
    if (size <= 0) return {};
    const size_t length = static_cast<size_t>(size);
    return {buffer, length < kMaxLogLineBytes ? length : kMaxLogLineBytes};
}

}  // namespace

void WriteLogLine(int priority, const char* file, int line, const char* function,
                  const char* format, ...) noexcept {
    if (!format || !CMoxLog::IsEnabled(priority)) return;
    char buffer[kMaxLogLineBytes + 1];
    va_list args;
    va_start(args, format);
    const int size = std::vsnprintf(buffer, sizeof buffer, format, args);
    va_end(args);
    Emit(priority, file, line, function, Formatted(buffer, size),
         size > 0 ? static_cast<size_t>(size) : 0);
}

void WriteJsonLogLine(int priority, const char* file, int line, const char* function,
                      const char* format, const Json::Value* value) noexcept {
    if (!format || !CMoxLog::IsEnabled(priority)) return;
    try {
        std::string json;
        const size_t omitted = value ? AppendRedactedJson(*value, kMaxLogLineBytes, json) : 0;
        char buffer[kMaxLogLineBytes + 1];
        const int size = std::snprintf(buffer, sizeof buffer, format, json.c_str());
        Emit(priority, file, line, function, Formatted(buffer, size),
             size > 0 ? static_cast<size_t>(size) + omitted : 0);
    } catch (...) {
        // Out of memory for the JSON text: the line is lost.
    }
}

std::string LogLineText(std::string_view text) {
    return std::string(LineText(text.substr(0, kMaxLogLineBytes), text.size()).view());
}

std::string LogJsonText(const Json::Value& value) {
    std::string json;
    const size_t omitted = AppendRedactedJson(value, kMaxLogLineBytes, json);
    return std::string(LineText(json, json.size() + omitted).view());
}

std::string JsonText(const Json::Value& value) { return StyledJson(value); }

}  // namespace moxh5::detail
