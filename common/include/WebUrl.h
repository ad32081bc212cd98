// A parser of URLs of the schemes that carry an authority ("ftp", "http",
// "https", "ws", "wss", "file"), read as browsers read them (the URL
// standard's basic parser), and their serialized form.
//
// Links from pages reach the shell and the host's HTTP code. A link is handed
// on in the serialized form, never as the page wrote it: whatever parser
// reads it next (the shell, a protocol handler, the host's HTTP stack) then
// sees the scheme, host and port that this parser saw. The parser takes what
// a browser takes, with these refusals on top:
//   - "//" must follow the scheme, then the host ("https:host", "https:/host",
//     "https:\\host" and "https:///host" are refused);
//   - credentials ("user:pw@") are refused; a lone "@" or ":@" is not
//     credentials and is dropped, as browsers do;
//   - control characters (C0, DEL, C1) anywhere, invisible and space-like
//     Unicode characters (zero-width, bidirectional controls, line
//     separators, non-breaking spaces; see IsHiddenCodePoint) and malformed
//     UTF-8 are refused; spaces around the link are dropped, inner ones are
//     percent-encoded;
//   - host names: letters, digits, "-", "_" and "." once mapped (ASCII lower
//     case; full-width ASCII and the ideographic full stops map to ASCII as
//     browsers map them); non-ASCII labels may hold the Latin-1 letters and
//     the common CJK ideographs (U+4E00 to U+9FA5) and are written in
//     Punycode ("xn--"); anything else, including other scripts that could
//     pass for Latin letters, is refused, and so is a name longer than 253
//     bytes (a trailing dot aside);
//   - a "file" URL needs a host other than "localhost", and its path may not
//     start with a drive letter.
// The serialized form is the standard's, with every character that RFC 3986
// does not allow in the path, query or fragment percent-encoded as well
// (", <, >, \, ^, `, {, |, }, [, ], a "%" that starts no escape, a second
// "#"), and "'", so that the text holds no space, quote or "|".
//
// Threads: any; no state.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace moxh5 {

struct WebUrl {
    enum class HostKind : uint8_t { kName, kIPv4, kIPv6 };

    std::string scheme;  // lower case
    HostKind hostKind = HostKind::kName;
    // serialized: "shop.example", "xn--...", "127.0.0.1", "[::1]"
    std::string host;
    uint32_t ipv4 = 0;  // kIPv4
    std::array<uint16_t, 8> ipv6 = {};  // kIPv6
    std::string port;                   // decimal, empty for none or the scheme's default
    // path, then "?" query and "#" fragment when present
    std::string tail;
    // scheme "://" host [":" port] tail
    std::string href;
};

// Whether `scheme` (lower case) is one of the six that carry an authority.
bool IsAuthorityScheme(std::string_view scheme);

// The lower-cased scheme of `text` (the letters before its first ":", spaces
// before it aside), or empty when it does not start with one.
std::string UrlScheme(std::string_view text);

// `text` parsed, or nullopt with a short reason for the log (a static text) in
// `refusal`. Only the six schemes above are parsed; others are refused.
std::optional<WebUrl> ParseWebUrl(std::string_view text, const char** refusal = nullptr);

}  // namespace moxh5
