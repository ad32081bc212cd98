// The dev host's rules for what it serves and to whom, kept free of the HTTP
// library so that they can be checked on their own.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace moxh5::devhost {

// True when `host` (a request's Host header) names this server by a loopback
// name: "127.0.0.1:<port>" or "localhost:<port>". Any other name may come
// from a page that rebinds its own DNS name to 127.0.0.1, so it is refused.
bool IsAllowedHost(const std::string& host, int port);

// True for a loopback client address ("127.x.x.x", "::1",
// "::ffff:127.x.x.x").
bool IsLoopbackAddress(const std::string& address);

// Compares a presented token with the run's token in time that does not
// depend on where they first differ.
bool TokenMatches(const std::string& presented, const std::string& token);

// A fresh per-run token: 32 hex digits from the system's random source.
std::string NewToken();

// The file under `root` that the decoded URL path `urlPath` names, or nothing
// when the path leaves the folder ("..", a drive or backslash, a NUL) or names
// no regular file. A folder's path names its index.html.
std::optional<std::filesystem::path> ResolvePagePath(const std::filesystem::path& root,
                                                     const std::string& urlPath);

// The Content-Type the dev host sends for a file, by its extension.
std::string ContentTypeOf(const std::filesystem::path& file);

// True for files the dev host treats as HTML pages.
bool IsHtmlFile(const std::filesystem::path& file);

// `html` with the dev transport's two script tags inserted before the first
// "</head>" (any letter case), or at the top when there is none. `devConfig`
// is the JSON text assigned to globalThis.__MOXH5_DEV__. A page that bundles
// the SDK itself says so with <meta name="moxh5-sdk" content="bundled"> and
// gets only the settings, not a second SDK.
std::string InjectDevScripts(const std::string& html, const std::string& devConfig);

// True when the page declares that it bundles the SDK (the meta tag above).
bool BundlesSdk(const std::string& html);

}  // namespace moxh5::devhost
