#include "AJsonUtil.h"

#include "diagnostics.h"
#include "moxh5/utf8.h"

namespace moxh5::ajson {
namespace {

// The reader's messages, as they appear in the host's logs.
constexpr char kNotAnObject[] = "read object must start with {!";
constexpr char kNotAnArray[] = "read array must start with [!";
constexpr char kKeyNotAString[] = "object key must be string";
constexpr char kNotAString[] = "not a valid string!";
constexpr char kNotANumber[] = "not a valid number!";
constexpr char kNotABool[] = "not a valid bool!";
constexpr char kInvalidDocument[] = "invalid json document!";

// Nesting allowed inside skipped members: deep enough for any page's
// parameters, and a bound on the recursion a hostile text can cause.
constexpr int kMaxSkipDepth = 256;
// How much of the text at a fault the position text quotes.
constexpr size_t kFaultTextBytes = 24;

bool IsSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }

int HexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

}  // namespace

bool Reader::Fail(const char* message) {
    if (!m_message) {
        m_message = message;
        m_errorAt = m_pos;
    }
    return false;
}

Error Reader::TakeError() const {
    Error error;
    error.message = m_message ? m_message : kInvalidDocument;
    const size_t at = m_errorAt < m_text.size() ? m_errorAt : m_text.size();
    size_t line = 1;
    size_t lineStart = 0;
    for (size_t i = 0; i < at; ++i) {
        if (m_text[i] == '\n') {
            ++line;
            lineStart = i + 1;
        }
    }
    // The text at the fault, up to the end of its line, cut whole characters.
    std::string_view fault = m_text.substr(at, kFaultTextBytes);
    fault = fault.substr(0, fault.find('\n'));
    size_t length = fault.size();
    while (at + length < m_text.size() && length > 0 &&
           (static_cast<unsigned char>(m_text[at + length]) & 0xC0) == 0x80) {
        --length;
    }
    error.position = "error at line :" + std::to_string(line) +
                     " col :" + std::to_string(at - lineStart + 1) + " msg:";
    error.position.append(fault.data(), length);
    return error;
}

char Reader::Peek() {
    while (m_pos < m_text.size() && IsSpace(m_text[m_pos])) ++m_pos;
    return m_pos < m_text.size() ? m_text[m_pos] : '\0';
}

bool Reader::AcceptNull() {
    if (Peek() != 'n' || m_text.compare(m_pos, 4, "null") != 0) return false;
    m_pos += 4;
    return true;
}

bool Reader::BeginObject(bool& empty) {
    if (Peek() != '{') return Fail(kNotAnObject);
    ++m_pos;
    empty = Peek() == '}';
    if (empty) ++m_pos;
    return true;
}

bool Reader::ReadKey(std::string_view& key, std::string& decoded) {
    if (Peek() != '"') return Fail(kKeyNotAString);
    const size_t start = m_pos + 1;
    size_t end = start;
    while (end < m_text.size() && m_text[end] != '"' && m_text[end] != '\\' &&
           static_cast<unsigned char>(m_text[end]) >= 0x20) {
        ++end;
    }
    if (end < m_text.size() && m_text[end] == '"') {
        key = m_text.substr(start, end - start);
        m_pos = end + 1;
    } else {
        if (!ScanString(&decoded, kNotAString)) return false;
        key = decoded;
    }
    if (Peek() != ':') return Fail(kInvalidDocument);
    ++m_pos;
    return true;
}

bool Reader::NextMember(bool& more) {
    const char c = Peek();
    if (c != ',' && c != '}') return Fail(kInvalidDocument);
    ++m_pos;
    more = c == ',';
    return true;
}

bool Reader::BeginArray(bool& empty) {
    if (Peek() != '[') return Fail(kNotAnArray);
    ++m_pos;
    empty = Peek() == ']';
    if (empty) ++m_pos;
    return true;
}

bool Reader::NextElement(bool& more) {
    const char c = Peek();
    if (c != ',' && c != ']') return Fail(kInvalidDocument);
    ++m_pos;
    more = c == ',';
    return true;
}

bool Reader::ReadString(std::string& out) {
    if (Peek() != '"') return Fail(kNotAString);
    return ScanString(&out, kNotAString);
}

bool Reader::ReadBool(bool& out) {
    Peek();
    if (m_text.compare(m_pos, 4, "true") == 0) {
        m_pos += 4;
        out = true;
        return true;
    }
    if (m_text.compare(m_pos, 5, "false") == 0) {
        m_pos += 5;
        out = false;
        return true;
    }
    return Fail(kNotABool);
}

bool Reader::ReadInteger(uint64_t maxPositive, uint64_t maxNegative, bool& negative,
                         uint64_t& magnitude) {
    const char c = Peek();
    if (c != '-' && !IsDigit(c)) return Fail(kNotANumber);
    const size_t start = m_pos;
    bool integral = false;
    bool overflow = false;
    if (!ScanNumber(integral, negative, magnitude, overflow)) return false;
    if (!integral || overflow || magnitude > (negative ? maxNegative : maxPositive)) {
        m_pos = start;
        return Fail(kNotANumber);
    }
    if (magnitude == 0) negative = false;
    return true;
}

bool Reader::SkipValue() { return SkipValueAt(0); }

bool Reader::AtEnd() {
    Peek();
    return m_pos == m_text.size() || Fail(kInvalidDocument);
}

// At the opening quote. Appends the decoded text to `out` when given.
bool Reader::ScanString(std::string* out, const char* notAString) {
    if (out) out->clear();
    ++m_pos;
    size_t run = m_pos;  // start of the bytes not yet appended
    auto flush = [&] {
        if (out) out->append(m_text.data() + run, m_pos - run);
    };
    while (m_pos < m_text.size()) {
        const char c = m_text[m_pos];
        if (c == '"') {
            flush();
            ++m_pos;
            return true;
        }
        if (static_cast<unsigned char>(c) < 0x20) return Fail(notAString);
        if (c != '\\') {
            ++m_pos;
            continue;
        }
        flush();
        const size_t escape = m_pos;
        if (escape + 1 >= m_text.size()) return Fail(notAString);
        char plain = 0;
        switch (m_text[escape + 1]) {
            case '"':
                plain = '"';
                break;
            case '\\':
                plain = '\\';
                break;
            case '/':
                plain = '/';
                break;
            case 'b':
                plain = '\b';
                break;
            case 'f':
                plain = '\f';
                break;
            case 'n':
                plain = '\n';
                break;
            case 'r':
                plain = '\r';
                break;
            case 't':
                plain = '\t';
                break;
            case 'u':
                break;
            default:
                return Fail(notAString);
        }
        if (plain) {
            if (out) *out += plain;
            m_pos = escape + 2;
            run = m_pos;
            continue;
        }
        // "\uXXXX", a UTF-16 unit; a surrogate pair takes two escapes.
        auto unitAt = [&](size_t at, uint32_t& unit) {
            if (at + 6 > m_text.size() || m_text[at] != '\\' || m_text[at + 1] != 'u') {
                return false;
            }
            unit = 0;
            for (size_t i = at + 2; i < at + 6; ++i) {
                const int digit = HexDigit(m_text[i]);
                if (digit < 0) return false;
                unit = unit * 16 + static_cast<uint32_t>(digit);
            }
            return true;
        };
        uint32_t unit = 0;
        if (!unitAt(escape, unit) || (unit >= 0xDC00 && unit <= 0xDFFF)) {
            return Fail(notAString);
        }
        size_t next = escape + 6;
        if (unit >= 0xD800 && unit <= 0xDBFF) {
            uint32_t low = 0;
            if (!unitAt(next, low) || low < 0xDC00 || low > 0xDFFF) return Fail(notAString);
            unit = 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00);
            next += 6;
        }
        if (out) moxh5::utf8::Append(*out, static_cast<char32_t>(unit));
        m_pos = next;
        run = m_pos;
    }
    return Fail(notAString);  // no closing quote
}

// At the sign or first digit. Gives the integer part's magnitude (`overflow`
// when it exceeds 64 bits) and whether the number is integral (no exponent, a
// fraction of zeros only).
bool Reader::ScanNumber(bool& integral, bool& negative, uint64_t& magnitude, bool& overflow) {
    integral = true;
    negative = false;
    magnitude = 0;
    overflow = false;
    auto digitHere = [&] { return m_pos < m_text.size() && IsDigit(m_text[m_pos]); };
    if (m_text[m_pos] == '-') {
        negative = true;
        ++m_pos;
    }
    if (!digitHere()) return Fail(kNotANumber);
    if (m_text[m_pos] == '0') {
        ++m_pos;
    } else {
        while (digitHere()) {
            const uint64_t digit = static_cast<uint64_t>(m_text[m_pos] - '0');
            if (magnitude > (UINT64_MAX - digit) / 10) {
                overflow = true;
            } else {
                magnitude = magnitude * 10 + digit;
            }
            ++m_pos;
        }
    }
    if (m_pos < m_text.size() && m_text[m_pos] == '.') {
        ++m_pos;
        if (!digitHere()) return Fail(kNotANumber);
        while (digitHere()) {
            if (m_text[m_pos] != '0') integral = false;
            ++m_pos;
        }
    }
    if (m_pos < m_text.size() && (m_text[m_pos] == 'e' || m_text[m_pos] == 'E')) {
        integral = false;
        ++m_pos;
        if (m_pos < m_text.size() && (m_text[m_pos] == '+' || m_text[m_pos] == '-')) ++m_pos;
        if (!digitHere()) return Fail(kNotANumber);
        while (digitHere()) ++m_pos;
    }
    return true;
}

bool Reader::ScanLiteral(const char* word) {
    const std::string_view expected(word);
    if (m_text.compare(m_pos, expected.size(), expected) != 0) return Fail(kInvalidDocument);
    m_pos += expected.size();
    return true;
}

bool Reader::SkipValueAt(int depth) {
    if (depth > kMaxSkipDepth) return Fail(kInvalidDocument);
    bool empty = false;
    bool more = true;
    switch (Peek()) {
        case '{':
            BeginObject(empty);
            while (!empty && more) {
                if (Peek() != '"') return Fail(kKeyNotAString);
                if (!ScanString(nullptr, kNotAString)) return false;
                if (Peek() != ':') return Fail(kInvalidDocument);
                ++m_pos;
                if (!SkipValueAt(depth + 1) || !NextMember(more)) return false;
            }
            return true;
        case '[':
            BeginArray(empty);
            while (!empty && more) {
                if (!SkipValueAt(depth + 1) || !NextElement(more)) return false;
            }
            return true;
        case '"':
            return ScanString(nullptr, kNotAString);
        case 't':
            return ScanLiteral("true");
        case 'f':
            return ScanLiteral("false");
        case 'n':
            return ScanLiteral("null");
        default:
            break;
    }
    if (m_pos < m_text.size() && (m_text[m_pos] == '-' || IsDigit(m_text[m_pos]))) {
        bool integral = false;
        bool negative = false;
        bool overflow = false;
        uint64_t magnitude = 0;
        return ScanNumber(integral, negative, magnitude, overflow);
    }
    return Fail(kInvalidDocument);
}

bool ReadValue(Reader& r, std::string& out) { return r.ReadString(out); }

bool ReadValue(Reader& r, bool& out) { return r.ReadBool(out); }

}  // namespace moxh5::ajson

void AJsonUtil::LogFailure(const char* caller, const moxh5::ajson::Error& error) noexcept {
    try {
        MOX_LOG(LOG_PRIORITY_ERROR, "AJsonUtil::JsonToObject",
                "AJson to object failed, caller: %s, error: %s, %s", caller ? caller : "",
                error.message.c_str(), error.position.c_str());
    } catch (...) {
        // A log line that cannot be written is lost; the failure is still
        // returned to the caller.
    }
}

void AJsonUtil::SetOutOfMemory(moxh5::ajson::Error& error) noexcept {
    try {
        error.message = "out of memory";
        error.position.clear();
    } catch (...) {
    }
}
