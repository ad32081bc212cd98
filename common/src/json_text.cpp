#include "json_text.h"

#include <json/writer.h>

#include <charconv>
#include <iterator>
#include <cstdint>
#include <cstring>
#if defined(_MSC_VER) && !defined(__clang__)
#include <intrin.h>
#endif

#include "AsciiCase.h"
#include "answer.h"
#include "payload_limits.h"
#include "moxh5/utf8.h"

namespace moxh5::detail {
namespace {

// The index of the lowest set bit of `bits` (not 0).
unsigned LowestBit(uint64_t bits) {
#if defined(_MSC_VER) && !defined(__clang__)
    unsigned long index = 0;
    _BitScanForward64(&index, bits);
    return static_cast<unsigned>(index);
#else
    return static_cast<unsigned>(__builtin_ctzll(bits));
#endif
}

// The first byte at or after `at` that ends a string's plain run: a quote, a
// backslash or a control character (or `end`). Eight bytes at a time: each
// word is tested for a byte equal to '"' or '\\' or below 0x20. The tests may
// also mark bytes after the first stop (a borrow runs upwards), never one
// before it, so on a little-endian machine the lowest mark is the stop.
const char* PlainRun(const char* at, const char* end) {
    constexpr uint64_t kOnes = 0x0101010101010101ull;
    constexpr uint64_t kHigh = 0x8080808080808080ull;
    while (end - at >= 8) {
        uint64_t word = 0;
        std::memcpy(&word, at, sizeof word);
        const uint64_t quote = word ^ (kOnes * '"');
        const uint64_t backslash = word ^ (kOnes * '\\');
        const uint64_t stops = (((quote - kOnes) & ~quote) | ((backslash - kOnes) & ~backslash) |
                                ((word - kOnes * 0x20) & ~word)) &
                               kHigh;
        if (stops) {
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
            break;
#else
            return at + LowestBit(stops) / 8;
#endif
        }
        at += sizeof word;
    }
    while (at < end && *at != '"' && *at != '\\' && static_cast<unsigned char>(*at) >= 0x20) {
        ++at;
    }
    return at;
}

// The members of a request text, by name.
enum class RequestField : uint8_t {
    kPayload,
    kMallcsid,
    kCallbackid,
    kWorkerid,
    kIsWorker,
    kWebindex,
    kOther
};

struct RequestFieldName {
    RequestField field;
    std::string_view name;
};
constexpr RequestFieldName kRequestFields[] = {
    {RequestField::kPayload, "payload"},   {RequestField::kMallcsid, "mallcsid"},
    {RequestField::kCallbackid, "callbackid"}, {RequestField::kWorkerid, "workerid"},
    {RequestField::kIsWorker, "isWorker"}, {RequestField::kWebindex, "webindex"},
};

RequestField FieldOf(std::string_view name) {
    for (const RequestFieldName& known : kRequestFields) {
        if (known.name == name) return known.field;
    }
    return RequestField::kOther;
}

std::string_view NameOf(RequestField field) {
    for (const RequestFieldName& known : kRequestFields) {
        if (known.field == field) return known.name;
    }
    return {};
}

// Installs `built` as `value` (leaving any comments of `value` where they
// are): cheaper than assigning a whole value.
void Install(Json::Value& value, Json::Value built) { value.swapPayload(built); }

class Reader {
public:
    explicit Reader(std::string_view text) : m_at(text.data()), m_end(text.data() + text.size()) {}

    bool Document(Json::Value& value) {
        SkipSpace();
        if (!Value(value, 0)) return false;
        SkipSpace();
        return m_at == m_end;
    }

    bool Request(RequestRecord& call, bool withPayload) {
        SkipSpace();
        if (!Take('{')) return false;
        SkipSpace();
        if (!Take('}')) {
            std::string_view key;
            for (;;) {
                if (!MemberName(key) || !RequestMember(FieldOf(key), call, withPayload)) {
                    return false;
                }
                SkipSpace();
                if (Take('}')) break;
                if (!Take(',')) return false;
            }
        }
        SkipSpace();
        return m_at == m_end;
    }

private:
    // One member of a request, after its name: read into its place in the
    // record; a member of the wrong type is read whole before it is refused,
    // so that malformed text is always told as such. Each member nests
    // kMaxJsonDepth deep on its own, as a payload does through Execute.
    bool RequestMember(RequestField field, RequestRecord& call, bool withPayload) {
        mox_h5_module_data& data = call.data;
        std::string* text = nullptr;
        switch (field) {
            case RequestField::kPayload: {
                if (!withPayload) return Skip(0);
                call.members = PayloadMembers();
                m_members = &call.members;
                const bool read = Value(data.payload, 0);
                m_members = nullptr;
                return read;
            }
            case RequestField::kOther:
                return Skip(0);
            case RequestField::kMallcsid:
                text = &data.mallcsid;
                break;
            case RequestField::kCallbackid:
                text = &data.callbackid;
                break;
            case RequestField::kWorkerid:
                text = &call.workerid;
                break;
            case RequestField::kIsWorker:
            case RequestField::kWebindex:
                break;
        }
        if (text && m_at < m_end && *m_at == '"') {
            std::string_view read;
            if (!StringText(read)) return false;
            text->assign(read.data(), read.size());
            if (field == RequestField::kWorkerid) data.workerid = call.workerid.c_str();
            return true;
        }
        Json::Value value;
        if (!Value(value, 0)) return false;
        if (value.isNull()) return true;
        if (text) return Refuse(call, field, "a string");
        if (field == RequestField::kIsWorker) {
            if (!value.isBool()) return Refuse(call, field, "a boolean");
            data.isWorker = value.asBool();
        } else {
            if (!value.isInt()) return Refuse(call, field, "a 32-bit integer");
            data.webindex = value.asInt();
        }
        return true;
    }

    static bool Refuse(RequestRecord& call, RequestField field, const char* type) {
        call.problem = "member \"" + std::string(NameOf(field)) + "\" must be " + type + " or null";
        return false;
    }

    void SkipSpace() {
        while (m_at < m_end && (*m_at == ' ' || *m_at == '\t' || *m_at == '\n' || *m_at == '\r')) {
            ++m_at;
        }
    }

    bool Take(char c) {
        if (m_at == m_end || *m_at != c) return false;
        ++m_at;
        return true;
    }

    bool Literal(std::string_view word) {
        if (static_cast<size_t>(m_end - m_at) < word.size() ||
            std::string_view(m_at, word.size()) != word) {
            return false;
        }
        m_at += word.size();
        return true;
    }

    // `depth`: the containers around the value. The reader recurses once per
    // container, so the bound also bounds its stack.
    bool Value(Json::Value& value, int depth) {
        if (m_at == m_end) return false;
        switch (*m_at) {
            case '{':
                return depth < kMaxJsonDepth && Object(value, depth + 1);
            case '[':
                return depth < kMaxJsonDepth && Array(value, depth + 1);
            case '"': {
                std::string_view text;
                if (!StringText(text)) return false;
                Install(value, Json::Value(text.data(), text.data() + text.size()));
                return true;
            }
            case 't':
                Install(value, Json::Value(true));
                return Literal("true");
            case 'f':
                Install(value, Json::Value(false));
                return Literal("false");
            case 'n':
                Install(value, Json::Value());
                return Literal("null");
            default:
                return Number(value);
        }
    }

    bool Object(Json::Value& value, int depth) {
        ++m_at;
        Install(value, Json::Value(Json::objectValue));
        // The payload's own members: note where its method and params are.
        PayloadMembers* members = depth == 1 ? m_members : nullptr;
        SkipSpace();
        if (Take('}')) return true;
        std::string_view key;
        for (;;) {
            if (!MemberName(key)) return false;
            Json::Value& member = *value.demand(key.data(), key.data() + key.size());
            if (members) {
                if (key == key::kMethod) members->method = &member;
                if (key == key::kParams) members->params = &member;
            }
            if (!Value(member, depth)) return false;
            SkipSpace();
            if (Take('}')) return true;
            if (!Take(',')) return false;
        }
    }

    // A member's quoted name and its colon, with the space around them. The
    // name is valid until the next string is read.
    bool MemberName(std::string_view& key) {
        SkipSpace();
        if (m_at == m_end || *m_at != '"' || !StringText(key)) return false;
        SkipSpace();
        if (!Take(':')) return false;
        SkipSpace();
        return true;
    }

    bool Array(Json::Value& value, int depth) {
        ++m_at;
        Install(value, Json::Value(Json::arrayValue));
        SkipSpace();
        if (Take(']')) return true;
        for (;;) {
            SkipSpace();
            if (!Value(value.append(Json::Value()), depth)) return false;
            SkipSpace();
            if (Take(']')) return true;
            if (!Take(',')) return false;
        }
    }

    // Checks one value as Value reads it, building nothing (members the
    // record has no place for, and a payload that is not wanted).
    bool Skip(int depth) {
        if (m_at == m_end) return false;
        switch (*m_at) {
            case '{':
            case '[': {
                if (depth == kMaxJsonDepth) return false;
                const char close = *m_at == '{' ? '}' : ']';
                ++m_at;
                SkipSpace();
                if (Take(close)) return true;
                for (;;) {
                    std::string_view key;
                    if (close == '}' && !MemberName(key)) return false;
                    SkipSpace();
                    if (!Skip(depth + 1)) return false;
                    SkipSpace();
                    if (Take(close)) return true;
                    if (!Take(',')) return false;
                }
            }
            case '"': {
                std::string_view text;
                return StringText(text);
            }
            case 't':
                return Literal("true");
            case 'f':
                return Literal("false");
            case 'n':
                return Literal("null");
            default: {
                Json::Value number;
                return Number(number);
            }
        }
    }

    // Four hex digits as a code unit, or -1.
    int32_t Hex4() {
        if (m_end - m_at < 4) return -1;
        int32_t unit = 0;
        for (int i = 0; i < 4; ++i) {
            const char c = *m_at++;
            unit <<= 4;
            if (c >= '0' && c <= '9')
                unit |= c - '0';
            else if (c >= 'a' && c <= 'f')
                unit |= c - 'a' + 10;
            else if (c >= 'A' && c <= 'F')
                unit |= c - 'A' + 10;
            else
                return -1;
        }
        return unit;
    }

    // After "\u": one code point (a surrogate pair as one), as UTF-8.
    bool Unicode(std::string& out) {
        int32_t point = Hex4();
        if (point < 0 || (point >= 0xDC00 && point <= 0xDFFF)) return false;
        if (point >= 0xD800 && point <= 0xDBFF) {
            if (!Literal("\\u")) return false;
            // -1 is refused with the rest
            const int32_t low = Hex4();
            if (low < 0xDC00 || low > 0xDFFF) return false;
            point = 0x10000 + ((point - 0xD800) << 10) + (low - 0xDC00);
        }
        utf8::Append(out, point);
        return true;
    }

    // A string, at its opening quote: its text, seen in place when it holds no
    // escape, else decoded into a buffer of the reader's (valid until the
    // next string is read).
    bool StringText(std::string_view& text) {
        const char* run = ++m_at;
        m_at = PlainRun(m_at, m_end);
        if (m_at < m_end && *m_at == '"') {
            text = std::string_view(run, static_cast<size_t>(m_at - run));
            ++m_at;
            return true;
        }
        m_decoded.assign(run, static_cast<size_t>(m_at - run));
        if (!Escaped(m_decoded)) return false;
        text = m_decoded;
        return true;
    }

    // The rest of a string from an escape or a stop on: decoded into `out`.
    bool Escaped(std::string& out) {
        for (;;) {
            if (m_at == m_end || static_cast<unsigned char>(*m_at) < 0x20) return false;
            if (*m_at++ == '"') return true;
            if (m_at == m_end) return false;
            const char escaped = *m_at++;
            switch (escaped) {
                case '"':
                case '\\':
                case '/':
                    out += escaped;
                    break;
                case 'b':
                    out += '\b';
                    break;
                case 'f':
                    out += '\f';
                    break;
                case 'n':
                    out += '\n';
                    break;
                case 'r':
                    out += '\r';
                    break;
                case 't':
                    out += '\t';
                    break;
                case 'u':
                    if (!Unicode(out)) return false;
                    break;
                default:
                    return false;
            }
            const char* run = m_at;
            m_at = PlainRun(m_at, m_end);
            out.append(run, static_cast<size_t>(m_at - run));
        }
    }

    bool Digits() {
        const char* start = m_at;
        while (m_at < m_end && *m_at >= '0' && *m_at <= '9') ++m_at;
        return m_at > start;
    }

    bool Number(Json::Value& value) {
        const char* start = m_at;
        Take('-');
        if (Take('0')) {
            if (m_at < m_end && *m_at >= '0' && *m_at <= '9') return false;
        } else if (!Digits()) {
            return false;
        }
        bool integer = true;
        if (Take('.')) {
            integer = false;
            if (!Digits()) return false;
        }
        if (m_at < m_end && (*m_at == 'e' || *m_at == 'E')) {
            integer = false;
            ++m_at;
            if (!Take('+')) Take('-');
            if (!Digits()) return false;
        }
        if (integer) {
            Json::Int64 signedValue = 0;
            if (std::from_chars(start, m_at, signedValue).ec == std::errc()) {
                Install(value, Json::Value(signedValue));
                return true;
            }
            Json::UInt64 unsignedValue = 0;
            if (*start != '-' && std::from_chars(start, m_at, unsignedValue).ec == std::errc()) {
                Install(value, Json::Value(unsignedValue));
                return true;
            }
        }
        double real = 0;
        const std::from_chars_result read = std::from_chars(start, m_at, real);
        if (read.ec != std::errc() && read.ec != std::errc::result_out_of_range) return false;
        Install(value, Json::Value(real));
        return true;
    }

    const char* m_at;
    const char* m_end;
    std::string m_decoded;                 // the last string read that had escapes
    PayloadMembers* m_members = nullptr;  // where the payload's members go, while it is read
};

// Where the writer puts its text: all of it into a string...
class WholeText {
public:
    explicit WholeText(std::string& out) : m_out(out) {}
    void Put(const char* at, size_t size) { m_out.append(at, size); }
    void Put(char c) { m_out += c; }

private:
    std::string& m_out;
};

// ...or the first `limit` bytes of it, counting the bytes left out.
class BoundedText {
public:
    BoundedText(std::string& out, size_t limit) : m_out(out), m_limit(limit) {}
    void Put(const char* at, size_t size) {
        const size_t room = m_out.size() < m_limit ? m_limit - m_out.size() : 0;
        const size_t kept = size < room ? size : room;
        m_out.append(at, kept);
        m_omitted += size - kept;
    }
    void Put(char c) { Put(&c, 1); }
    size_t Omitted() const { return m_omitted; }

private:
    std::string& m_out;
    size_t m_limit;
    size_t m_omitted = 0;
};

constexpr char kRedacted[] = "[redacted]";

// Header names whose values are credentials.
bool IsSecretHeaderName(std::string_view name) {
    return EqualsIgnoringAsciiCase(name, "authorization") ||
           EqualsIgnoringAsciiCase(name, "proxy-authorization") ||
           EqualsIgnoringAsciiCase(name, "cookie");
}

std::string_view TrimSpaces(std::string_view text) {
    const size_t first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

// "Cookie: [redacted]" for a header line that carries a credential, keeping
// the line's spelling of the name; empty for any other text.
std::string RedactedHeaderLine(std::string_view line) {
    const size_t colon = line.find(':');
    if (colon == std::string_view::npos) return {};
    const std::string_view name = TrimSpaces(line.substr(0, colon));
    if (!IsSecretHeaderName(name)) return {};
    return std::string(name) + ": " + kRedacted;
}

template <typename Output>
class Writer {
public:
    // With `redact`, credentials are written as "[redacted]": the value of
    // every member named "cookie" (any case), and in a "headers" array or
    // object the credential header lines and members.
    Writer(Output& out, bool redact) : m_out(out), m_redact(redact) {}

    void Value(const Json::Value& value, bool headers = false) {
        switch (value.type()) {
            case Json::nullValue:
                Put("null");
                break;
            case Json::booleanValue:
                Put(value.asBool() ? "true" : "false");
                break;
            case Json::intValue:
                Integer(value.asLargestInt());
                break;
            case Json::uintValue:
                Integer(value.asLargestUInt());
                break;
            case Json::realValue:
                Put(Json::valueToString(value.asDouble()));
                break;
            case Json::stringValue: {
                const char* begin = nullptr;
                const char* end = nullptr;
                value.getString(&begin, &end);
                String(begin, end);
                break;
            }
            case Json::arrayValue: {
                m_out.Put('[');
                bool first = true;
                for (auto it = value.begin(), last = value.end(); it != last; ++it) {
                    if (!first) m_out.Put(',');
                    first = false;
                    if (!(headers && RedactedLine(*it))) Value(*it);
                }
                m_out.Put(']');
                break;
            }
            case Json::objectValue: {
                m_out.Put('{');
                bool first = true;
                for (auto it = value.begin(), last = value.end(); it != last; ++it) {
                    if (!first) m_out.Put(',');
                    first = false;
                    const char* end = nullptr;
                    const char* name = it.memberName(&end);
                    String(name, end);
                    m_out.Put(':');
                    Member(std::string_view(name, static_cast<size_t>(end - name)), *it, headers);
                }
                m_out.Put('}');
                break;
            }
        }
    }

    void String(const char* at, const char* end) {
        static const char kHex[] = "0123456789abcdef";
        m_out.Put('"');
        for (const char* run = at; at < end; run = at) {
            while (at < end && *at != '"' && *at != '\\' &&
                   static_cast<unsigned char>(*at) >= 0x20) {
                ++at;
            }
            m_out.Put(run, static_cast<size_t>(at - run));
            if (at == end) break;
            const unsigned char c = static_cast<unsigned char>(*at++);
            switch (c) {
                case '"':
                    Put("\\\"");
                    break;
                case '\\':
                    Put("\\\\");
                    break;
                case '\b':
                    Put("\\b");
                    break;
                case '\f':
                    Put("\\f");
                    break;
                case '\n':
                    Put("\\n");
                    break;
                case '\r':
                    Put("\\r");
                    break;
                case '\t':
                    Put("\\t");
                    break;
                default:
                    Put("\\u00");
                    m_out.Put(kHex[c >> 4]);
                    m_out.Put(kHex[c & 0xF]);
            }
        }
        m_out.Put('"');
    }

private:
    void Put(std::string_view text) { m_out.Put(text.data(), text.size()); }

    template <typename Number>
    void Integer(Number number) {
        char digits[24];
        const std::to_chars_result written = std::to_chars(digits, digits + sizeof digits, number);
        m_out.Put(digits, static_cast<size_t>(written.ptr - digits));
    }

    // A member's value; `headers` when the object is a "headers" object.
    void Member(std::string_view name, const Json::Value& value, bool headers) {
        if (m_redact) {
            if (EqualsIgnoringAsciiCase(name, "cookie") || (headers && IsSecretHeaderName(name))) {
                String(kRedacted, kRedacted + sizeof kRedacted - 1);
                return;
            }
            if (headers && RedactedLine(value)) return;
            if (EqualsIgnoringAsciiCase(name, "headers")) return Value(value, /*headers=*/true);
        }
        Value(value);
    }

    // Writes a credential header line redacted; false for any other value.
    bool RedactedLine(const Json::Value& value) {
        const char* begin = nullptr;
        const char* end = nullptr;
        if (value.type() != Json::stringValue || !value.getString(&begin, &end)) return false;
        const std::string line =
            RedactedHeaderLine(std::string_view(begin, static_cast<size_t>(end - begin)));
        if (line.empty()) return false;
        String(line.data(), line.data() + line.size());
        return true;
    }

    Output& m_out;
    bool m_redact;
};

// The indented text of jsoncpp's StreamWriterBuilder with its default
// settings, byte for byte: a tab per level, " : " after a name, members by
// name, every array element and member on a line of its own (an array or
// object that is a member's value starts on the line after the name), empty
// containers as [] and {}, comments where jsoncpp puts them, non-ASCII text
// as \u escapes (UTF-16 pairs beyond the first plane; a malformed UTF-8
// sequence as \ufffd), doubles with 17 significant digits. Arrays are
// walked in order instead of looked up index by index, which keeps long
// arrays linear; an index the array lacks is written as null, as jsoncpp
// does.
class StyledWriter {
public:
    explicit StyledWriter(std::string& out) : m_out(out) {}

    void Document(const Json::Value& root) {
        m_indented = true;
        CommentBefore(root);
        if (!m_indented) NewLine();
        m_indented = true;
        Value(root);
        CommentAfter(root);
    }

private:
    void Value(const Json::Value& value) {
        switch (value.type()) {
            case Json::nullValue:
                m_out += "null";
                break;
            case Json::intValue:
                Integer(value.asLargestInt());
                break;
            case Json::uintValue:
                Integer(value.asLargestUInt());
                break;
            case Json::realValue:
                m_out += Json::valueToString(value.asDouble());
                break;
            case Json::stringValue: {
                const char* begin = nullptr;
                const char* end = nullptr;
                if (value.getString(&begin, &end)) Quoted(begin, end);
                break;
            }
            case Json::booleanValue:
                m_out += value.asBool() ? "true" : "false";
                break;
            case Json::arrayValue:
                Array(value);
                break;
            case Json::objectValue:
                Object(value);
                break;
        }
    }

    void Array(const Json::Value& value) {
        const Json::ArrayIndex size = value.size();
        if (size == 0) {
            m_out += "[]";
            return;
        }
        WithIndent("[");
        ++m_depth;
        Json::ArrayIndex index = 0;
        auto it = value.begin();
        const auto last = value.end();
        for (;;) {
            const bool present = it != last && it.index() == index;
            const Json::Value& element = present ? *it : NullValue();
            if (present) ++it;
            CommentBefore(element);
            if (!m_indented) NewLine();
            m_indented = true;
            Value(element);
            m_indented = false;
            if (++index == size) {
                CommentAfter(element);
                break;
            }
            m_out += ',';
            CommentAfter(element);
        }
        --m_depth;
        WithIndent("]");
    }

    void Object(const Json::Value& value) {
        auto it = value.begin();
        const auto last = value.end();
        if (it == last) {
            m_out += "{}";
            return;
        }
        WithIndent("{");
        ++m_depth;
        for (;;) {
            const Json::Value& member = *it;
            CommentBefore(member);
            const char* nameEnd = nullptr;
            const char* name = it.memberName(&nameEnd);
            if (!m_indented) NewLine();
            Quoted(name, nameEnd);
            m_indented = false;
            m_out += " : ";
            Value(member);
            if (++it == last) {
                CommentAfter(member);
                break;
            }
            m_out += ',';
            CommentAfter(member);
        }
        --m_depth;
        WithIndent("}");
    }

    static const Json::Value& NullValue() {
        static const Json::Value& null = *new Json::Value();
        return null;
    }

    template <typename Number>
    void Integer(Number number) {
        char digits[24];
        const std::to_chars_result written = std::to_chars(digits, digits + sizeof digits, number);
        m_out.append(digits, static_cast<size_t>(written.ptr - digits));
    }

    void NewLine() {
        m_out += '\n';
        m_out.append(m_depth, '\t');
    }

    void WithIndent(std::string_view text) {
        if (!m_indented) NewLine();
        m_out += text;
        m_indented = false;
    }

    void CommentBefore(const Json::Value& value) {
        if (!value.hasComment(Json::commentBefore)) return;
        if (!m_indented) NewLine();
        const std::string comment = value.getComment(Json::commentBefore);
        for (size_t i = 0; i < comment.size(); ++i) {
            m_out += comment[i];
            if (comment[i] == '\n' && i + 1 < comment.size() && comment[i + 1] == '/') {
                m_out.append(m_depth, '\t');
            }
        }
        m_indented = false;
    }

    void CommentAfter(const Json::Value& value) {
        if (value.hasComment(Json::commentAfterOnSameLine)) {
            m_out += ' ';
            m_out += value.getComment(Json::commentAfterOnSameLine);
        }
        if (value.hasComment(Json::commentAfter)) {
            NewLine();
            m_out += value.getComment(Json::commentAfter);
        }
    }

    // A string with everything but printable ASCII escaped.
    void Quoted(const char* at, const char* end) {
        m_out += '"';
        while (at < end) {
            const char* run = at;
            while (at < end && *at >= 0x20 && *at != '"' && *at != '\\') ++at;
            m_out.append(run, static_cast<size_t>(at - run));
            if (at == end) break;
            switch (*at) {
                case '"':
                    m_out += "\\\"";
                    break;
                case '\\':
                    m_out += "\\\\";
                    break;
                case '\b':
                    m_out += "\\b";
                    break;
                case '\f':
                    m_out += "\\f";
                    break;
                case '\n':
                    m_out += "\\n";
                    break;
                case '\r':
                    m_out += "\\r";
                    break;
                case '\t':
                    m_out += "\\t";
                    break;
                default: {
                    const uint32_t point = CodePoint(at, end);
                    if (point >= 0x20 && point <= 0x7F) {
                        m_out += static_cast<char>(point);
                    } else if (point < 0x10000) {
                        Unit(point);
                    } else {
                        // Beyond U+10FFFF (a lead byte of 0xF4 and above) the
                        // high unit keeps ten bits, as jsoncpp's does.
                        Unit(0xD800 + (((point - 0x10000) >> 10) & 0x3FF));
                        Unit(0xDC00 + ((point - 0x10000) & 0x3FF));
                    }
                }
            }
            ++at;
        }
        m_out += '"';
    }

    void Unit(uint32_t unit) {
        static const char kHex[] = "0123456789abcdef";
        const char escaped[] = {'\\', 'u', kHex[(unit >> 12) & 0xF], kHex[(unit >> 8) & 0xF],
                                kHex[(unit >> 4) & 0xF], kHex[unit & 0xF]};
        m_out.append(escaped, sizeof escaped);
    }

    // The code point of the UTF-8 sequence at `at` (a control character or a
    // byte of 0x80 and above), leaving `at` on its last byte. Only the lead
    // byte is checked: a sequence cut short by the end, a surrogate, an
    // overlong form or a lead byte of 0xF8 and above gives U+FFFD and moves
    // on by one byte.
    static uint32_t CodePoint(const char*& at, const char* end) {
        constexpr uint32_t kReplacement = 0xFFFD;
        const uint32_t lead = static_cast<unsigned char>(*at);
        auto next = [&](ptrdiff_t i) { return static_cast<uint32_t>(at[i]) & 0x3F; };
        if (lead < 0x80) return lead;
        if (lead < 0xE0) {
            if (end - at < 2) return kReplacement;
            const uint32_t point = ((lead & 0x1F) << 6) | next(1);
            at += 1;
            return point < 0x80 ? kReplacement : point;
        }
        if (lead < 0xF0) {
            if (end - at < 3) return kReplacement;
            const uint32_t point = ((lead & 0x0F) << 12) | (next(1) << 6) | next(2);
            at += 2;
            if (point >= 0xD800 && point <= 0xDFFF) return kReplacement;
            return point < 0x800 ? kReplacement : point;
        }
        if (lead < 0xF8) {
            if (end - at < 4) return kReplacement;
            const uint32_t point =
                ((lead & 0x07) << 18) | (next(1) << 12) | (next(2) << 6) | next(3);
            at += 3;
            return point < 0x10000 ? kReplacement : point;
        }
        return kReplacement;
    }

    std::string& m_out;
    size_t m_depth = 0;
    bool m_indented = true;
};

void Write(const Json::Value& value, std::string& out) {
    WholeText text(out);
    Writer<WholeText>(text, /*redact=*/false).Value(value);
}

}  // namespace

bool ParseJson(std::string_view text, Json::Value& value) { return Reader(text).Document(value); }

bool ReadRequestText(std::string_view text, RequestRecord& call, bool withPayload) {
    return Reader(text).Request(call, withPayload);
}

void AppendJson(const Json::Value& value, std::string& out) { Write(value, out); }

void AppendJsonString(std::string_view text, std::string& out) {
    WholeText whole(out);
    Writer<WholeText>(whole, /*redact=*/false).String(text.data(), text.data() + text.size());
}

size_t AppendRedactedJson(const Json::Value& value, size_t limit, std::string& out) {
    BoundedText bounded(out, out.size() + limit);
    Writer<BoundedText>(bounded, /*redact=*/true).Value(value);
    return bounded.Omitted();
}

void AppendEnvelope(bool success, const Json::Value& answer, std::string& out) {
    WholeText text(out);
    Writer<WholeText> writer(text, /*redact=*/false);
    // The envelope's own members, in name order; each goes in before the
    // first of the answer's members whose name sorts after it.
    struct Own {
        std::string_view name;
        bool fromAnswer;  // the answer's member of that name stands instead
    };
    const bool isObject = answer.isObject();
    auto has = [&](std::string_view name) {
        return isObject && answer.find(name.data(), name.data() + name.size()) != nullptr;
    };
    const Own own[] = {{key::kData, has(key::kData)},
                       {key::kMessage, has(key::kMessage)},
                       {key::kSuccess, false}};
    size_t next = 0;
    bool first = true;
    auto comma = [&] {
        if (!first) text.Put(',');
        first = false;
    };
    auto writeOwn = [&](std::string_view name) {
        comma();
        writer.String(name.data(), name.data() + name.size());
        text.Put(':');
        if (name == key::kSuccess) {
            text.Put(success ? "true" : "false", success ? 4 : 5);
        } else if (name == key::kMessage) {
            const std::string_view message = success ? "success" : "failed";
            writer.String(message.data(), message.data() + message.size());
        } else {
            text.Put("null", 4);
        }
    };
    text.Put('{');
    if (isObject) {
        for (auto it = answer.begin(), last = answer.end(); it != last; ++it) {
            const char* nameEnd = nullptr;
            const char* nameBegin = it.memberName(&nameEnd);
            const std::string_view name(nameBegin, static_cast<size_t>(nameEnd - nameBegin));
            for (; next < std::size(own) && own[next].name < name; ++next) {
                if (!own[next].fromAnswer) writeOwn(own[next].name);
            }
            if (name == key::kSuccess) continue;  // the envelope's success stands
            comma();
            writer.String(nameBegin, nameEnd);
            text.Put(':');
            writer.Value(*it);
        }
    }
    for (; next < std::size(own); ++next) {
        if (!own[next].fromAnswer) writeOwn(own[next].name);
    }
    text.Put('}');
}

std::string StyledJson(const Json::Value& value) {
    std::string out;
    StyledWriter(out).Document(value);
    return out;
}

std::string CompactJson(const Json::Value& value) {
    std::string out;
    out.reserve(128);
    Write(value, out);
    return out;
}

}  // namespace moxh5::detail
