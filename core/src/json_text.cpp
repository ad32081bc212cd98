#include "core/detail/json_text.h"

#include <json/writer.h>

#include <charconv>
#include <cstdint>

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
                SkipSpace();
                if (m_at == m_end || *m_at != '"' || !String(key)) return false;
                SkipSpace();
                if (!Take(':')) return false;
                SkipSpace();
                // Each member nests on its own, as a payload does through Execute.
                if (!Value(value, 0) || !visit(context, key, value)) return false;
                SkipSpace();
                if (Take('}')) break;
                if (!Take(',')) return false;
            }
        }
        SkipSpace();
        return m_at == m_end;
    }

private:
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
            SkipSpace();
            if (m_at == m_end || *m_at != '"' || !String(key)) return false;
            SkipSpace();
            if (!Take(':')) return false;
            SkipSpace();
            if (!Value(value[key], depth)) return false;
            SkipSpace();
            if (Take('}')) return true;
            if (!Take(',')) return false;
        }
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

void WriteString(const char* at, const char* end, std::string& out) {
    static const char kHex[] = "0123456789abcdef";
    out += '"';
    for (const char* run = at; at < end; run = at) {
        while (at < end && *at != '"' && *at != '\\' && static_cast<unsigned char>(*at) >= 0x20) {
            ++at;
        }
        out.append(run, static_cast<size_t>(at - run));
        if (at == end) break;
        const unsigned char c = static_cast<unsigned char>(*at++);
        switch (c) {
            case '"':
                out += "\\\"";
                break;
            case '\\':
                out += "\\\\";
                break;
            case '\b':
                out += "\\b";
                break;
            case '\f':
                out += "\\f";
                break;
            case '\n':
                out += "\\n";
                break;
            case '\r':
                out += "\\r";
                break;
            case '\t':
                out += "\\t";
                break;
            default:
                out += "\\u00";
                out += kHex[c >> 4];
                out += kHex[c & 0xF];
        }
    }
    out += '"';
}

template <typename Integer>
void WriteInteger(Integer number, std::string& out) {
    char digits[24];
    const std::to_chars_result written = std::to_chars(digits, digits + sizeof digits, number);
    out.append(digits, written.ptr);
}

void Write(const Json::Value& value, std::string& out) {
    switch (value.type()) {
        case Json::nullValue:
            out += "null";
            break;
        case Json::booleanValue:
            out += value.asBool() ? "true" : "false";
            break;
        case Json::intValue:
            WriteInteger(value.asLargestInt(), out);
            break;
        case Json::uintValue:
            WriteInteger(value.asLargestUInt(), out);
            break;
        case Json::realValue:
            out += Json::valueToString(value.asDouble());
            break;
        case Json::stringValue: {
            const char* begin = nullptr;
            const char* end = nullptr;
            value.getString(&begin, &end);
            WriteString(begin, end, out);
            break;
        }
        case Json::arrayValue: {
            out += '[';
            for (Json::ArrayIndex i = 0; i < value.size(); ++i) {
                if (i) out += ',';
                Write(value[i], out);
            }
            out += ']';
            break;
        }
        case Json::objectValue: {
            out += '{';
            for (auto it = value.begin(); it != value.end(); ++it) {
                if (it != value.begin()) out += ',';
                const char* end = nullptr;
                const char* name = it.memberName(&end);
                WriteString(name, end, out);
                out += ':';
                Write(*it, out);
            }
            out += '}';
            break;
        }
    }
}

}  // namespace

bool ParseJson(std::string_view text, Json::Value& value) { return Reader(text).Document(value); }

bool ParseJsonMembers(std::string_view text, JsonMemberVisitor visit, void* context) {
    return Reader(text).Members(visit, context);
}

void AppendJson(const Json::Value& value, std::string& out) { Write(value, out); }

void AppendJsonString(std::string_view text, std::string& out) {
    WriteString(text.data(), text.data() + text.size(), out);
}

std::string CompactJson(const Json::Value& value) {
    std::string out;
    out.reserve(128);
    Write(value, out);
    return out;
}

}  // namespace moxh5::detail
