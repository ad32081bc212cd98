#include "core/detail/json_text.h"

#include <json/writer.h>

#include <charconv>
#include <cstdint>

#include "AsciiCase.h"
#include "core/detail/payload_limits.h"
#include "moxh5/utf8.h"

namespace moxh5::detail {
namespace {

class Reader {
public:
    explicit Reader(std::string_view text) : m_at(text.data()), m_end(text.data() + text.size()) {}

    bool Document(Json::Value& value) {
        SkipSpace();
        if (!Value(value, 0)) return false;
        SkipSpace();
        return m_at == m_end;
    }

    bool Members(JsonMemberVisitor visit, void* context) {
        SkipSpace();
        if (!Take('{')) return false;
        SkipSpace();
        if (!Take('}')) {
            std::string key;
            Json::Value value;
            for (;;) {
                // Each member nests on its own, as a payload does through Execute.
                if (!MemberName(key) || !Value(value, 0) || !visit(context, key, value)) {
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

    bool Request(RequestRecord& call) {
        SkipSpace();
        if (!Take('{')) return false;
        SkipSpace();
        if (!Take('}')) {
            std::string key;
            for (;;) {
                if (!MemberName(key) || !RequestMember(key, call)) return false;
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
    // so that malformed text is always told as such.
    bool RequestMember(const std::string& key, RequestRecord& call) {
        mox_h5_module_data& data = call.data;
        if (key == "payload") return Value(data.payload, 0);
        std::string* text = key == "mallcsid"     ? &data.mallcsid
                            : key == "callbackid" ? &data.callbackid
                            : key == "workerid"   ? &call.workerid
                                                  : nullptr;
        if (text && m_at < m_end && *m_at == '"') {
            if (!String(*text)) return false;
            if (text == &call.workerid) data.workerid = call.workerid.c_str();
            return true;
        }
        Json::Value value;
        if (!Value(value, 0)) return false;
        if (value.isNull()) return true;
        if (text) return Refuse(call, key, "a string");
        if (key == "isWorker") {
            if (!value.isBool()) return Refuse(call, key, "a boolean");
            data.isWorker = value.asBool();
        } else if (key == "webindex") {
            if (!value.isInt()) return Refuse(call, key, "a 32-bit integer");
            data.webindex = value.asInt();
        }
        return true;
    }

    static bool Refuse(RequestRecord& call, const std::string& key, const char* type) {
        call.problem = "member \"" + key + "\" must be " + type + " or null";
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
                std::string text;
                if (!String(text)) return false;
                value = Json::Value(text);
                return true;
            }
            case 't':
                value = true;
                return Literal("true");
            case 'f':
                value = false;
                return Literal("false");
            case 'n':
                value = Json::Value();
                return Literal("null");
            default:
                return Number(value);
        }
    }

    bool Object(Json::Value& value, int depth) {
        ++m_at;
        value = Json::Value(Json::objectValue);
        SkipSpace();
        if (Take('}')) return true;
        std::string key;
        for (;;) {
            if (!MemberName(key) || !Value(value[key], depth)) return false;
            SkipSpace();
            if (Take('}')) return true;
            if (!Take(',')) return false;
        }
    }

    // A member's quoted name and its colon, with the space around them.
    bool MemberName(std::string& key) {
        SkipSpace();
        if (m_at == m_end || *m_at != '"' || !String(key)) return false;
        SkipSpace();
        if (!Take(':')) return false;
        SkipSpace();
        return true;
    }

    bool Array(Json::Value& value, int depth) {
        ++m_at;
        value = Json::Value(Json::arrayValue);
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

    bool Hex4(uint32_t& unit) {
        if (m_end - m_at < 4) return false;
        unit = 0;
        for (int i = 0; i < 4; ++i) {
            const char c = *m_at++;
            unit <<= 4;
            if (c >= '0' && c <= '9')
                unit |= static_cast<uint32_t>(c - '0');
            else if (c >= 'a' && c <= 'f')
                unit |= static_cast<uint32_t>(c - 'a' + 10);
            else if (c >= 'A' && c <= 'F')
                unit |= static_cast<uint32_t>(c - 'A' + 10);
            else
                return false;
        }
        return true;
    }

    // After "\u": one code point (a surrogate pair as one), as UTF-8.
    bool Unicode(std::string& out) {
        uint32_t point = 0;
        if (!Hex4(point)) return false;
        if (point >= 0xDC00 && point <= 0xDFFF) return false;
        if (point >= 0xD800 && point <= 0xDBFF) {
            uint32_t low = 0;
            if (!Literal("\\u") || !Hex4(low) || low < 0xDC00 || low > 0xDFFF) return false;
            point = 0x10000 + ((point - 0xD800) << 10) + (low - 0xDC00);
        }
        utf8::Append(out, point);
        return true;
    }

    bool String(std::string& out) {
        ++m_at;
        out.clear();
        for (;;) {
            const char* run = m_at;
            while (m_at < m_end && *m_at != '"' && *m_at != '\\' &&
                   static_cast<unsigned char>(*m_at) >= 0x20) {
                ++m_at;
            }
            out.append(run, static_cast<size_t>(m_at - run));
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
                value = signedValue;
                return true;
            }
            Json::UInt64 unsignedValue = 0;
            if (*start != '-' && std::from_chars(start, m_at, unsignedValue).ec == std::errc()) {
                value = unsignedValue;
                return true;
            }
        }
        double real = 0;
        const std::from_chars_result read = std::from_chars(start, m_at, real);
        if (read.ec != std::errc() && read.ec != std::errc::result_out_of_range) return false;
        value = real;
        return true;
    }

    const char* m_at;
    const char* m_end;
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
                for (auto it = value.begin(); it != value.end(); ++it) {
                    if (it != value.begin()) m_out.Put(',');
                    if (!(headers && RedactedLine(*it))) Value(*it);
                }
                m_out.Put(']');
                break;
            }
            case Json::objectValue: {
                m_out.Put('{');
                for (auto it = value.begin(); it != value.end(); ++it) {
                    if (it != value.begin()) m_out.Put(',');
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

void Write(const Json::Value& value, std::string& out) {
    WholeText text(out);
    Writer<WholeText>(text, /*redact=*/false).Value(value);
}

}  // namespace

bool ParseJson(std::string_view text, Json::Value& value) { return Reader(text).Document(value); }

bool ParseJsonMembers(std::string_view text, JsonMemberVisitor visit, void* context) {
    return Reader(text).Members(visit, context);
}

bool ReadRequestText(std::string_view text, RequestRecord& call) {
    return Reader(text).Request(call);
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

std::string CompactJson(const Json::Value& value) {
    std::string out;
    out.reserve(128);
    Write(value, out);
    return out;
}

}  // namespace moxh5::detail
