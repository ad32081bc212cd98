// A strict parser of absolute URLs (the generic syntax: scheme ":" then an
// optional "//" authority, a path, a query and a fragment), for the schemes a
// host adds to shell-open that carry no authority in the URL standard
// ("mailto", a program's own scheme). Such a link is checked as an opaque
// text and handed on as the page wrote it; the schemes that do carry one
// ("http", "https", "ftp", "ws", "wss", "file") are read by ParseWebUrl
// (WebUrl.h) instead.
//
// The parser accepts less than browsers do, never more:
//   - the scheme is a letter followed by letters, digits, "+", "-" or ".";
//   - no ASCII control character, space, DEL, backslash, or any of
//     < > " { } | ^ ` anywhere; non-ASCII text must be valid UTF-8 without
//     C1 controls, Unicode spaces, invisible format characters or a BOM;
//   - "%" only as a percent-escape of two hex digits;
//   - no credentials: an "@" in the authority is refused;
//   - the host is a name of letters, digits, "-", ".", "_" or non-ASCII
//     characters, or a bracketed IPv6 literal; a port is 1 to 5 digits up to
//     65535 ("host:" with an empty port is refused).
// Non-ASCII characters are allowed in names, paths, queries and fragments, as
// internationalized links carry them.
//
// Threads: any; no state.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace moxh5 {

struct StrictUrl {
    std::string scheme;  // lower-cased
    bool hasAuthority = false;
    std::string host;  // lower-cased ASCII letters; empty without authority
    std::string port;  // digits, or empty
    std::string path;
    std::string query;     // without the "?"
    std::string fragment;  // without the "#"
};

// The parts of `text`, or nullopt when it is not a URL of the form above.
// `refusal`, when given, receives a short reason for the log (a static text).
std::optional<StrictUrl> ParseStrictUrl(std::string_view text, const char** refusal = nullptr);

// Code points that are invisible or act as spaces or controls (C1 controls,
// no-break and other Unicode spaces, zero-width characters, bidirectional
// controls, line and paragraph separators, the byte order mark, tags): a
// link that holds one does not show what it opens.
bool IsHiddenCodePoint(uint32_t code);

// Decodes the UTF-8 sequence at text[i] (a lead byte of 0x80 or more) into
// `code`, advancing `i` past it. False for a malformed or overlong sequence
// or a surrogate.
bool DecodeUtf8At(std::string_view text, size_t& i, uint32_t& code);

// Whether `text` holds a CR, an LF or a NUL: such text must not reach an HTTP
// header, a cookie or a request line.
bool HasLineBreakOrNul(std::string_view text);

}  // namespace moxh5
