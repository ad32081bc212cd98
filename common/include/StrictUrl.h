// A strict parser of absolute URLs (the generic syntax: scheme ":" then an
// optional "//" authority, a path, a query and a fragment).
//
// Pages hand URLs that reach the shell and the host's HTTP stack, so the
// parser accepts less than browsers do, never more:
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

// An absolute "http" or "https" URL with a host.
bool IsWebUrl(std::string_view text);

// Whether `text` holds a CR, an LF or a NUL: such text must not reach an HTTP
// header, a cookie or a request line.
bool HasLineBreakOrNul(std::string_view text);

}  // namespace moxh5
