#include "WebUrl.h"

#include <algorithm>
#include <vector>

#include "AsciiCase.h"
#include "StrictUrl.h"

namespace moxh5 {
namespace {

// Longest host text read at all, before percent-decoding; a longer one is
// refused before any work that grows with it.
constexpr size_t kMaxRawHostBytes = 1024;
// Longest host name once mapped, without a trailing dot (the DNS limit).
constexpr size_t kMaxHostNameBytes = 253;

bool IsAlpha(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsHex(char c) { return IsDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }
int HexValue(char c) {
    if (IsDigit(c)) return c - '0';
    return AsciiLower(c) - 'a' + 10;
}

struct SchemeInfo {
    const char* name;
    const char* defaultPort;  // empty: none
};
constexpr SchemeInfo kSchemes[] = {{"ftp", "21"}, {"http", "80"}, {"https", "443"},
                                   {"ws", "80"},  {"wss", "443"}, {"file", ""}};

const SchemeInfo* FindScheme(std::string_view scheme) {
    for (const SchemeInfo& info : kSchemes) {
        if (scheme == info.name) return &info;
    }
    return nullptr;
}

// The character rules over the whole text; null when they hold.
const char* CharacterRefusal(std::string_view text) {
    for (size_t i = 0; i < text.size();) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if (byte >= 0x80) {
            uint32_t code = 0;
            if (!DecodeUtf8At(text, i, code)) return "malformed UTF-8";
            if (IsHiddenCodePoint(code)) return "invisible or space character";
            continue;
        }
        if (byte < 0x20 || byte == 0x7F) return "control character";
        ++i;
    }
    return nullptr;
}

// --- percent-encoding ------------------------------------------------------

enum class Part : uint8_t { kPath, kQuery, kFragment };

// Whether the ASCII character `c` stands as it is in `part` ("%" aside):
// what RFC 3986 allows there, but "'" (the URL standard encodes it in the
// query; it is encoded everywhere, so that the text holds no quote at all).
bool StaysAsItIs(char c, Part part) {
    if (IsAlpha(c) || IsDigit(c)) return true;
    switch (c) {
        case '-':
        case '.':
        case '_':
        case '~':  // unreserved
        case '!':
        case '$':
        case '&':
        case '(':
        case ')':
        case '*':  // sub-delims
        case '+':
        case ',':
        case ';':
        case '=':
        case ':':
        case '@':
        case '/':
            return true;
        case '?':
            return part != Part::kPath;
        default:
            return false;
    }
}

void AppendEscape(std::string& out, unsigned char byte) {
    static const char kHex[] = "0123456789ABCDEF";
    out += '%';
    out += kHex[byte >> 4];
    out += kHex[byte & 0xF];
}

// Appends text[i], percent-encoded where `part` needs it, and advances `i`.
// A "%" that starts an escape stays (as browsers keep it); one that does not
// becomes "%25".
void AppendEncoded(std::string_view text, size_t& i, Part part, std::string& out) {
    const char c = text[i];
    if (c == '%') {
        if (text.size() - i >= 3 && IsHex(text[i + 1]) && IsHex(text[i + 2])) {
            out.append(text.substr(i, 3));
            i += 3;
        } else {
            out += "%25";
            ++i;
        }
        return;
    }
    if (static_cast<unsigned char>(c) < 0x80 && StaysAsItIs(c, part)) {
        out += c;
    } else {
        AppendEscape(out, static_cast<unsigned char>(c));
    }
    ++i;
}

// --- IPv4 and IPv6 ---------------------------------------------------------

// One part of an IPv4 address as the URL standard reads it: decimal, "0x"
// hexadecimal or "0" octal. Values too large for any address saturate.
std::optional<uint64_t> ParseIpv4Number(std::string_view part) {
    if (part.empty()) return std::nullopt;
    int radix = 10;
    if (part.size() >= 2 && part[0] == '0' && (part[1] == 'x' || part[1] == 'X')) {
        radix = 16;
        part.remove_prefix(2);
    } else if (part.size() >= 2 && part[0] == '0') {
        radix = 8;
        part.remove_prefix(1);
    }
    uint64_t value = 0;
    for (char c : part) {
        int digit = -1;
        if (radix == 16 && IsHex(c)) digit = HexValue(c);
        if (radix != 16 && IsDigit(c) && c - '0' < radix) digit = c - '0';
        if (digit < 0) return std::nullopt;
        value = value > (uint64_t{1} << 40) ? value : value * static_cast<uint64_t>(radix) + digit;
    }
    return value;
}

std::vector<std::string_view> SplitDots(std::string_view text) {
    std::vector<std::string_view> parts;
    size_t start = 0;
    for (;;) {
        const size_t dot = text.find('.', start);
        parts.push_back(text.substr(start, dot == std::string_view::npos ? dot : dot - start));
        if (dot == std::string_view::npos) return parts;
        start = dot + 1;
    }
}

// Whether the last label of a host name is a number: then the whole name
// must be an IPv4 address.
bool EndsInNumber(std::string_view host) {
    std::vector<std::string_view> parts = SplitDots(host);
    if (parts.back().empty()) {
        if (parts.size() == 1) return false;
        parts.pop_back();
    }
    const std::string_view last = parts.back();
    bool allDigits = !last.empty();
    for (char c : last) allDigits = allDigits && IsDigit(c);
    return allDigits || ParseIpv4Number(last).has_value();
}

std::optional<uint32_t> ParseIpv4(std::string_view host) {
    std::vector<std::string_view> parts = SplitDots(host);
    if (parts.back().empty() && parts.size() > 1) parts.pop_back();
    if (parts.size() > 4) return std::nullopt;
    std::vector<uint64_t> numbers;
    for (std::string_view part : parts) {
        const std::optional<uint64_t> number = ParseIpv4Number(part);
        if (!number) return std::nullopt;
        numbers.push_back(*number);
    }
    for (size_t i = 0; i + 1 < numbers.size(); ++i) {
        if (numbers[i] > 255) return std::nullopt;
    }
    if (numbers.back() >= (uint64_t{1} << (8 * (5 - numbers.size())))) return std::nullopt;
    uint64_t address = numbers.back();
    for (size_t i = 0; i + 1 < numbers.size(); ++i) address += numbers[i] << (8 * (3 - i));
    return static_cast<uint32_t>(address);
}

std::string SerializeIpv4(uint32_t address) {
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        text += std::to_string((address >> shift) & 0xFF);
        if (shift) text += '.';
    }
    return text;
}

// The URL standard's IPv6 parser, over the text between the brackets.
std::optional<std::array<uint16_t, 8>> ParseIpv6(std::string_view in) {
    std::array<uint16_t, 8> address = {};
    size_t piece = 0;
    std::optional<size_t> compress;
    size_t p = 0;
    const auto at = [&](size_t i) { return i < in.size() ? in[i] : '\0'; };
    if (at(p) == ':') {
        if (at(p + 1) != ':') return std::nullopt;
        p += 2;
        compress = ++piece;
    }
    while (p < in.size()) {
        if (piece == 8) return std::nullopt;
        if (at(p) == ':') {
            if (compress) return std::nullopt;
            ++p;
            compress = ++piece;
            continue;
        }
        uint32_t value = 0;
        size_t length = 0;
        while (length < 4 && IsHex(at(p))) {
            value = value * 16 + static_cast<uint32_t>(HexValue(at(p)));
            ++p;
            ++length;
        }
        if (at(p) == '.') {
            if (length == 0) return std::nullopt;
            p -= length;
            if (piece > 6) return std::nullopt;
            int numbersSeen = 0;
            while (p < in.size()) {
                if (numbersSeen > 0) {
                    if (at(p) != '.' || numbersSeen >= 4) return std::nullopt;
                    ++p;
                }
                if (!IsDigit(at(p))) return std::nullopt;
                const size_t first = p;
                int v4 = 0;
                while (IsDigit(at(p))) {
                    v4 = v4 * 10 + (at(p) - '0');
                    if (v4 > 255) return std::nullopt;
                    ++p;
                }
                if (p - first > 1 && at(first) == '0') return std::nullopt;  // no leading zeros
                address[piece] = static_cast<uint16_t>(address[piece] * 0x100 + v4);
                ++numbersSeen;
                if (numbersSeen == 2 || numbersSeen == 4) ++piece;
            }
            if (numbersSeen != 4) return std::nullopt;
            break;
        }
        if (at(p) == ':') {
            ++p;
            if (p >= in.size()) return std::nullopt;
        } else if (p < in.size()) {
            return std::nullopt;
        }
        address[piece++] = static_cast<uint16_t>(value);
    }
    if (compress) {
        size_t swaps = piece - *compress;
        piece = 7;
        while (piece != 0 && swaps > 0) {
            std::swap(address[piece], address[*compress + swaps - 1]);
            --piece;
            --swaps;
        }
    } else if (piece != 8) {
        return std::nullopt;
    }
    return address;
}

std::string SerializeIpv6(const std::array<uint16_t, 8>& address) {
    // The first longest run of two or more zero pieces becomes "::".
    size_t bestStart = 8, bestLength = 1;
    for (size_t i = 0; i < 8;) {
        size_t j = i;
        while (j < 8 && address[j] == 0) ++j;
        if (j - i > bestLength) bestStart = i, bestLength = j - i;
        i = j == i ? i + 1 : j;
    }
    static const char kHex[] = "0123456789abcdef";
    std::string text = "[";
    for (size_t i = 0; i < 8; ++i) {
        if (i == bestStart) {
            text += i == 0 ? "::" : ":";
            i += bestLength - 1;
            continue;
        }
        bool started = false;
        for (int shift = 12; shift >= 0; shift -= 4) {
            const int digit = (address[i] >> shift) & 0xF;
            if (digit == 0 && !started && shift) continue;
            started = true;
            text += kHex[digit];
        }
        if (i != 7) text += ':';
    }
    return text + "]";
}

// --- host names ------------------------------------------------------------

// The code point a host name's character maps to, as browsers map it, for
// the characters this parser takes; 0 for any other.
uint32_t MapHostCodePoint(uint32_t c) {
    if (c < 0x80) return static_cast<uint32_t>(AsciiLower(static_cast<char>(c)));
    if (c == 0x3002 || c == 0xFF0E || c == 0xFF61) return '.';  // ideographic full stops
    if (c >= 0xFF01 && c <= 0xFF5E) {                           // full-width ASCII
        return static_cast<uint32_t>(AsciiLower(static_cast<char>(c - 0xFEE0)));
    }
    // Latin-1 capitals
    if (c >= 0xC0 && c <= 0xDE && c != 0xD7) return c + 0x20;
    // Latin-1 small letters
    if (c >= 0xDF && c <= 0xFF && c != 0xF7) return c;
    if (c >= 0x4E00 && c <= 0x9FA5) return c;                  // common CJK ideographs
    return 0;
}

// Whether a decoded Punycode label holds only characters that map to
// themselves above.
bool IsMappedNonAscii(uint32_t c) { return c >= 0x80 && MapHostCodePoint(c) == c; }

// RFC 3492.
constexpr uint32_t kBase = 36, kTMin = 1, kTMax = 26, kSkew = 38, kDamp = 700;

uint32_t Adapt(uint32_t delta, uint32_t points, bool first) {
    delta = first ? delta / kDamp : delta / 2;
    delta += delta / points;
    uint32_t k = 0;
    while (delta > ((kBase - kTMin) * kTMax) / 2) {
        delta /= kBase - kTMin;
        k += kBase;
    }
    return k + (kBase - kTMin + 1) * delta / (delta + kSkew);
}

char PunycodeDigit(uint32_t d) { return static_cast<char>(d < 26 ? 'a' + d : '0' + d - 26); }

uint32_t Threshold(uint32_t k, uint32_t bias) {
    return k <= bias ? kTMin : k >= bias + kTMax ? kTMax : k - bias;
}

std::string PunycodeEncode(const std::u32string& label) {
    std::string out;
    for (char32_t c : label) {
        if (c < 0x80) out += static_cast<char>(c);
    }
    const uint32_t basic = static_cast<uint32_t>(out.size());
    uint32_t handled = basic;
    if (basic > 0) out += '-';
    uint32_t n = 0x80, delta = 0, bias = 72;
    while (handled < label.size()) {
        uint32_t m = 0x10FFFF;
        for (char32_t c : label) {
            if (c >= n && c < m) m = c;
        }
        delta += (m - n) * (handled + 1);
        n = m;
        for (char32_t c : label) {
            if (c < n) ++delta;
            if (c != n) continue;
            uint32_t q = delta;
            for (uint32_t k = kBase;; k += kBase) {
                const uint32_t t = Threshold(k, bias);
                if (q < t) break;
                out += PunycodeDigit(t + (q - t) % (kBase - t));
                q = (q - t) / (kBase - t);
            }
            out += PunycodeDigit(q);
            bias = Adapt(delta, handled + 1, handled == basic);
            delta = 0;
            ++handled;
        }
        ++delta;
        ++n;
    }
    return out;
}

std::optional<std::u32string> PunycodeDecode(std::string_view text) {
    std::u32string out;
    const size_t dash = text.rfind('-');
    size_t p = 0;
    if (dash != std::string_view::npos) {
        for (size_t i = 0; i < dash; ++i) out += static_cast<char32_t>(text[i]);
        p = dash + 1;
    }
    uint64_t n = 0x80, i = 0;
    uint32_t bias = 72;
    while (p < text.size()) {
        const uint64_t oldI = i;
        uint64_t w = 1;
        for (uint32_t k = kBase;; k += kBase) {
            if (p >= text.size()) return std::nullopt;
            const char c = text[p++];
            uint32_t digit;
            if (c >= 'a' && c <= 'z') {
                digit = static_cast<uint32_t>(c - 'a');
            } else if (IsDigit(c)) {
                digit = static_cast<uint32_t>(c - '0' + 26);
            } else {
                return std::nullopt;
            }
            i += digit * w;
            const uint32_t t = Threshold(k, bias);
            if (digit < t) break;
            w *= kBase - t;
            // i grew by at least the old w (digit >= t >= 1), so w stays within 35
            // times this bound and neither overflows before the next check.
            if (i > 0x10FFFF * 64) return std::nullopt;
        }
        const uint64_t points = out.size() + 1;
        bias = Adapt(static_cast<uint32_t>(i - oldI), static_cast<uint32_t>(points), oldI == 0);
        n += i / points;
        i %= points;
        if (n > 0x10FFFF) return std::nullopt;
        out.insert(out.begin() + static_cast<std::ptrdiff_t>(i), static_cast<char32_t>(n));
        ++i;
    }
    return out;
}

// A label written in Punycode by the page: taken only when it is the
// canonical spelling of characters this parser takes.
bool IsAcceptedPunycodeLabel(std::string_view label) {
    const std::optional<std::u32string> decoded = PunycodeDecode(label.substr(4));
    if (!decoded) return false;
    bool nonAscii = false;
    for (char32_t c : *decoded) {
        if (c >= 0x80 && !IsMappedNonAscii(c)) return false;
        if (c < 0x80 && MapHostCodePoint(c) != c) return false;
        nonAscii = nonAscii || c >= 0x80;
    }
    return nonAscii && PunycodeEncode(*decoded) == label.substr(4);
}

bool IsHostNameChar(char c) {
    return (c >= 'a' && c <= 'z') || IsDigit(c) || c == '-' || c == '_' || c == '.';
}

// A host that is not an IPv6 literal: percent-decoded, mapped, written in
// ASCII, then an IPv4 address or a name.
const char* ParseNameOrIpv4(std::string_view raw, WebUrl& url) {
    std::string bytes;
    for (size_t i = 0; i < raw.size(); ++i) {
        if (raw[i] == '%' && raw.size() - i >= 3 && IsHex(raw[i + 1]) && IsHex(raw[i + 2])) {
            bytes += static_cast<char>(HexValue(raw[i + 1]) * 16 + HexValue(raw[i + 2]));
            i += 2;
        } else {
            bytes += raw[i];
        }
    }
    std::vector<std::u32string> labels(1);
    for (size_t i = 0; i < bytes.size();) {
        uint32_t code = static_cast<unsigned char>(bytes[i]);
        if (code >= 0x80) {
            if (!DecodeUtf8At(bytes, i, code)) return "malformed host name";
        } else {
            ++i;
        }
        const uint32_t mapped = MapHostCodePoint(code);
        if (mapped == 0) return "host name outside the supported characters";
        if (mapped == '.') {
            labels.emplace_back();
        } else {
            labels.back() += static_cast<char32_t>(mapped);
        }
    }
    std::string ascii;
    for (size_t l = 0; l < labels.size(); ++l) {
        if (l) ascii += '.';
        const std::u32string& label = labels[l];
        bool nonAscii = false;
        for (char32_t c : label) nonAscii = nonAscii || c >= 0x80;
        if (nonAscii) {
            // A label with the ACE prefix is Punycode already, which is ASCII.
            if (label.compare(0, 4, U"xn--") == 0) return "malformed Punycode label";
            ascii += "xn--" + PunycodeEncode(label);
            continue;
        }
        const std::string plain(label.begin(), label.end());
        if (plain.compare(0, 4, "xn--") == 0 && !IsAcceptedPunycodeLabel(plain)) {
            return "malformed Punycode label";
        }
        ascii += plain;
    }
    // IPv4 forms (decimal, octal, hex) are written in these characters too.
    for (char c : ascii) {
        if (!IsHostNameChar(c)) return "character not allowed in a host name";
    }
    if (EndsInNumber(ascii)) {
        const std::optional<uint32_t> address = ParseIpv4(ascii);
        if (!address) return "malformed IPv4 address";
        url.hostKind = WebUrl::HostKind::kIPv4;
        url.ipv4 = *address;
        url.host = SerializeIpv4(*address);
        return nullptr;
    }
    const size_t length = ascii.size() - (ascii.back() == '.' ? 1 : 0);
    if (length > kMaxHostNameBytes) return "host name too long";
    url.hostKind = WebUrl::HostKind::kName;
    url.host = std::move(ascii);
    return nullptr;
}

const char* ParseHost(std::string_view raw, WebUrl& url) {
    if (raw.empty()) return "no host";
    if (raw.size() > kMaxRawHostBytes) return "host name too long";
    if (raw.front() != '[') return ParseNameOrIpv4(raw, url);
    if (raw.back() != ']') return "malformed IP literal";
    const std::optional<std::array<uint16_t, 8>> address = ParseIpv6(raw.substr(1, raw.size() - 2));
    if (!address) return "malformed IP literal";
    url.hostKind = WebUrl::HostKind::kIPv6;
    url.ipv6 = *address;
    url.host = SerializeIpv6(*address);
    return nullptr;
}

// "host[:port]" after the credentials.
const char* ParseHostAndPort(std::string_view hostPort, const SchemeInfo& scheme, WebUrl& url) {
    size_t colon = std::string_view::npos;
    bool inBrackets = false;
    for (size_t i = 0; i < hostPort.size() && colon == std::string_view::npos; ++i) {
        if (hostPort[i] == '[') inBrackets = true;
        if (hostPort[i] == ']') inBrackets = false;
        if (hostPort[i] == ':' && !inBrackets) colon = i;
    }
    const bool isFile = scheme.defaultPort[0] == '\0';
    if (isFile) colon = std::string_view::npos;  // a colon is then part of the host, and refused
    const std::string_view host = hostPort.substr(0, colon);
    if (isFile && host.size() == 2 && IsAlpha(host[0]) && (host[1] == ':' || host[1] == '|')) {
        return "file link without a host";
    }
    if (const char* refusal = ParseHost(host, url)) return refusal;
    if (isFile && url.host == "localhost") return "file link without a host";
    if (colon == std::string_view::npos) return nullptr;
    const std::string_view port = hostPort.substr(colon + 1);
    uint32_t value = 0;
    for (char c : port) {
        if (!IsDigit(c)) return "malformed port";
        value = value > 65535 ? value : value * 10 + static_cast<uint32_t>(c - '0');
    }
    if (value > 65535) return "malformed port";
    if (!port.empty() && std::to_string(value) != scheme.defaultPort)
        url.port = std::to_string(value);
    return nullptr;
}

bool IsSingleDot(std::string_view s) { return s == "." || EqualsIgnoringAsciiCase(s, "%2e"); }
bool IsDoubleDot(std::string_view s) {
    return s == ".." || EqualsIgnoringAsciiCase(s, ".%2e") || EqualsIgnoringAsciiCase(s, "%2e.") ||
           EqualsIgnoringAsciiCase(s, "%2e%2e");
}

// The path, query and fragment after the authority, as serialized.
const char* SerializeTail(std::string_view rest, bool isFile, std::string& tail) {
    std::vector<std::string> segments;
    std::string buffer;
    size_t i = 0;
    if (i < rest.size() && (rest[i] == '/' || rest[i] == '\\')) ++i;
    for (;;) {
        const char c = i < rest.size() ? rest[i] : '\0';
        const bool end = i >= rest.size() || c == '?' || c == '#';
        const bool slash = !end && (c == '/' || c == '\\');
        if (!end && !slash) {
            AppendEncoded(rest, i, Part::kPath, buffer);
            continue;
        }
        if (IsDoubleDot(buffer)) {
            if (!segments.empty()) segments.pop_back();
            if (!slash) segments.emplace_back();
        } else if (IsSingleDot(buffer)) {
            if (!slash) segments.emplace_back();
        } else {
            if (isFile && segments.empty() && buffer.size() == 2 && IsAlpha(buffer[0]) &&
                (buffer[1] == ':' || buffer[1] == '|')) {
                return "file link with a drive letter";
            }
            segments.push_back(std::move(buffer));
        }
        buffer.clear();
        if (end) break;
        ++i;
    }
    for (const std::string& segment : segments) tail += '/' + segment;
    if (i < rest.size() && rest[i] == '?') {
        tail += '?';
        for (++i; i < rest.size() && rest[i] != '#';) AppendEncoded(rest, i, Part::kQuery, tail);
    }
    if (i < rest.size() && rest[i] == '#') {
        tail += '#';
        for (++i; i < rest.size();) {
            if (rest[i] == '#') {
                tail += "%23";
                ++i;
            } else {
                AppendEncoded(rest, i, Part::kFragment, tail);
            }
        }
    }
    return nullptr;
}

const char* Parse(std::string_view text, WebUrl& url) {
    if (const char* refusal = CharacterRefusal(text)) return refusal;
    while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
    while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
    url.scheme = UrlScheme(text);
    if (url.scheme.empty()) return "no scheme";
    const SchemeInfo* scheme = FindScheme(url.scheme);
    if (!scheme) return "scheme without an authority";
    std::string_view rest = text.substr(url.scheme.size() + 1);
    if (rest.substr(0, 2) != "//" || (rest.size() > 2 && (rest[2] == '/' || rest[2] == '\\'))) {
        return "no \"//\" and host after the scheme";
    }
    rest.remove_prefix(2);
    const size_t authorityEnd = std::min(rest.find_first_of("/\\?#"), rest.size());
    const std::string_view authority = rest.substr(0, authorityEnd);
    const size_t at = authority.rfind('@');
    std::string_view hostPort = authority;
    if (at != std::string_view::npos) {
        const std::string_view credentials = authority.substr(0, at);
        if (!credentials.empty() && credentials != ":") return "credentials in the URL";
        if (scheme->defaultPort[0] == '\0') return "credentials in the URL";
        hostPort = authority.substr(at + 1);
    }
    if (const char* refusal = ParseHostAndPort(hostPort, *scheme, url)) return refusal;
    if (const char* refusal =
            SerializeTail(rest.substr(authorityEnd), scheme->defaultPort[0] == '\0', url.tail)) {
        return refusal;
    }
    url.href = url.scheme + "://" + url.host + (url.port.empty() ? "" : ":" + url.port) + url.tail;
    return nullptr;
}

}  // namespace

bool IsAuthorityScheme(std::string_view scheme) { return FindScheme(scheme) != nullptr; }

std::string UrlScheme(std::string_view text) {
    while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
    const size_t colon = text.find(':');
    if (colon == std::string_view::npos || colon == 0 || !IsAlpha(text[0])) return {};
    std::string scheme;
    for (size_t i = 0; i < colon; ++i) {
        const char c = text[i];
        if (!IsAlpha(c) && !IsDigit(c) && c != '+' && c != '-' && c != '.') return {};
        scheme += AsciiLower(c);
    }
    return scheme;
}

std::optional<WebUrl> ParseWebUrl(std::string_view text, const char** refusal) {
    WebUrl url;
    const char* why = Parse(text, url);
    if (refusal) *refusal = why;
    if (why) return std::nullopt;
    return url;
}

}  // namespace moxh5
