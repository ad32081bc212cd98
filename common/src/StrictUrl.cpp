#include "StrictUrl.h"

#include <cstdint>

namespace moxh5 {
namespace {

bool IsAlpha(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsHex(char c) { return IsDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }
char Lower(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }

// The printable ASCII characters a URL may hold: unreserved, reserved and "%".
bool IsUrlAscii(char c) {
    if (IsAlpha(c) || IsDigit(c)) return true;
    switch (c) {
        case '-':
        case '.':
        case '_':
        case '~':  // unreserved
        case ':':
        case '/':
        case '?':
        case '#':
        case '[':
        case ']':  // gen-delims
        case '@':
        case '!':
        case '$':
        case '&':
        case '\'':
        case '(':  // sub-delims...
        case ')':
        case '*':
        case '+':
        case ',':
        case ';':
        case '=':
        case '%':
            return true;
        default:
            return false;
    }
}

}  // namespace

bool IsHiddenCodePoint(uint32_t c) {
    return (c >= 0x80 && c <= 0xA0) || c == 0xAD || c == 0x61C || c == 0x1680 || c == 0x180E ||
           (c >= 0x2000 && c <= 0x200F) || (c >= 0x2028 && c <= 0x202F) ||
           (c >= 0x205F && c <= 0x206F) || c == 0x3000 || c == 0xFEFF ||
           (c >= 0xFFF9 && c <= 0xFFFB) || (c >= 0xE0000 && c <= 0xE007F);
}

bool DecodeUtf8At(std::string_view text, size_t& i, uint32_t& code) {
    const auto lead = static_cast<unsigned char>(text[i]);
    size_t length = 0;
    uint32_t minimum = 0;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2, code = lead & 0x1F, minimum = 0x80;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3, code = lead & 0x0F, minimum = 0x800;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4, code = lead & 0x07, minimum = 0x10000;
    } else {
        return false;
    }
    if (text.size() - i < length) return false;
    for (size_t k = 1; k < length; ++k) {
        const auto next = static_cast<unsigned char>(text[i + k]);
        if ((next & 0xC0) != 0x80) return false;
        code = (code << 6) | (next & 0x3F);
    }
    if (code < minimum || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) return false;
    i += length;
    return true;
}

namespace {

// The character-level rules, over the whole text; null when they hold.
const char* CharacterRefusal(std::string_view text) {
    for (size_t i = 0; i < text.size();) {
        const char c = text[i];
        if (static_cast<unsigned char>(c) >= 0x80) {
            uint32_t code = 0;
            if (!DecodeUtf8At(text, i, code)) return "malformed UTF-8";
            if (IsHiddenCodePoint(code)) return "invisible or space character";
            continue;
        }
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) return "control character";
        if (c == ' ') return "whitespace";
        if (c == '\\') return "backslash";
        if (!IsUrlAscii(c)) return "character not allowed in a URL";
        if (c == '%' && (text.size() - i < 3 || !IsHex(text[i + 1]) || !IsHex(text[i + 2]))) {
            return "malformed percent-escape";
        }
        ++i;
    }
    return nullptr;
}

bool IsHostChar(char c) {
    return IsAlpha(c) || IsDigit(c) || c == '-' || c == '.' || c == '_' ||
           static_cast<unsigned char>(c) >= 0x80;
}

bool IsValidPort(std::string_view port) {
    if (port.empty() || port.size() > 5) return false;
    uint32_t value = 0;
    for (char c : port) {
        if (!IsDigit(c)) return false;
        value = value * 10 + static_cast<uint32_t>(c - '0');
    }
    return value <= 65535;
}

// "[...]": hex digits, colons and dots (an embedded IPv4 tail), with at least
// two colons.
bool IsIpLiteral(std::string_view inside) {
    size_t colons = 0;
    for (char c : inside) {
        if (c == ':') {
            ++colons;
        } else if (!IsHex(c) && c != '.') {
            return false;
        }
    }
    return colons >= 2;
}

// Splits the authority into host and port; null when it is well-formed.
const char* ParseAuthority(std::string_view authority, StrictUrl& url) {
    if (authority.find('@') != std::string_view::npos) return "credentials in the URL";
    std::string_view host = authority;
    std::string_view port;
    bool hasPort = false;
    if (!authority.empty() && authority.front() == '[') {
        const size_t close = authority.find(']');
        if (close == std::string_view::npos || !IsIpLiteral(authority.substr(1, close - 1))) {
            return "malformed IP literal";
        }
        host = authority.substr(0, close + 1);
        const std::string_view after = authority.substr(close + 1);
        if (!after.empty()) {
            if (after.front() != ':') return "malformed authority";
            hasPort = true;
            port = after.substr(1);
        }
    } else {
        const size_t colon = authority.rfind(':');
        if (colon != std::string_view::npos) {
            hasPort = true;
            host = authority.substr(0, colon);
            port = authority.substr(colon + 1);
        }
        for (char c : host) {
            if (!IsHostChar(c)) return "character not allowed in a host name";
        }
    }
    if (hasPort && !IsValidPort(port)) return "malformed port";
    if (hasPort && host.empty()) return "port without a host";
    url.host.reserve(host.size());
    for (char c : host) url.host += Lower(c);
    url.port = std::string(port);
    return nullptr;
}

// Brackets belong to IP literals only; a second "#" has no place.
const char* TailRefusal(std::string_view path, std::string_view query, std::string_view fragment) {
    for (std::string_view part : {path, query, fragment}) {
        if (part.find_first_of("[]") != std::string_view::npos) return "bracket outside a host";
    }
    if (fragment.find('#') != std::string_view::npos) return "second fragment mark";
    return nullptr;
}

const char* Parse(std::string_view text, StrictUrl& url) {
    if (text.empty()) return "empty URL";
    if (const char* refusal = CharacterRefusal(text)) return refusal;
    const size_t colon = text.find(':');
    if (colon == std::string_view::npos || colon == 0 || !IsAlpha(text[0])) return "no scheme";
    for (size_t i = 0; i < colon; ++i) {
        const char c = text[i];
        if (!IsAlpha(c) && !IsDigit(c) && c != '+' && c != '-' && c != '.') return "no scheme";
        url.scheme += Lower(c);
    }
    std::string_view rest = text.substr(colon + 1);
    if (rest.substr(0, 2) == "//") {
        rest.remove_prefix(2);
        const size_t end = rest.find_first_of("/?#");
        url.hasAuthority = true;
        if (const char* refusal = ParseAuthority(rest.substr(0, end), url)) return refusal;
        rest = end == std::string_view::npos ? std::string_view() : rest.substr(end);
    }
    const size_t hash = rest.find('#');
    const std::string_view fragment =
        hash == std::string_view::npos ? std::string_view() : rest.substr(hash + 1);
    rest = rest.substr(0, hash);
    const size_t mark = rest.find('?');
    const std::string_view query =
        mark == std::string_view::npos ? std::string_view() : rest.substr(mark + 1);
    const std::string_view path = rest.substr(0, mark);
    if (const char* refusal = TailRefusal(path, query, fragment)) return refusal;
    url.path = std::string(path);
    url.query = std::string(query);
    url.fragment = std::string(fragment);
    return nullptr;
}

}  // namespace

std::optional<StrictUrl> ParseStrictUrl(std::string_view text, const char** refusal) {
    StrictUrl url;
    const char* why = Parse(text, url);
    if (refusal) *refusal = why;
    if (why) return std::nullopt;
    return url;
}

bool HasLineBreakOrNul(std::string_view text) {
    return text.find_first_of(std::string_view("\r\n\0", 3)) != std::string_view::npos;
}

}  // namespace moxh5
