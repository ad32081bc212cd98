#include "tools/devhost/request_rules.h"

#include <algorithm>
#include <cctype>
#include <random>
#include <system_error>

namespace moxh5::devhost {
namespace {

std::string Lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

bool StartsWith(const std::string& text, const std::string& prefix) {
    return text.compare(0, prefix.size(), prefix) == 0;
}

}  // namespace

bool IsAllowedHost(const std::string& host, int port) {
    const std::string lower = Lower(host);
    const std::string suffix = ":" + std::to_string(port);
    return lower == "127.0.0.1" + suffix || lower == "localhost" + suffix;
}

bool IsLoopbackAddress(const std::string& address) {
    return StartsWith(address, "127.") || address == "::1" || StartsWith(address, "::ffff:127.");
}

bool TokenMatches(const std::string& presented, const std::string& token) {
    if (presented.size() != token.size() || token.empty()) return false;
    unsigned char difference = 0;
    for (size_t i = 0; i < token.size(); ++i) {
        difference |= static_cast<unsigned char>(presented[i] ^ token[i]);
    }
    return difference == 0;
}

std::string NewToken() {
    std::random_device random;
    static const char kDigits[] = "0123456789abcdef";
    std::string token;
    for (int i = 0; i < 4; ++i) {
        const uint32_t word = random();
        for (int shift = 28; shift >= 0; shift -= 4) token += kDigits[(word >> shift) & 0xF];
    }
    return token;
}

std::optional<std::filesystem::path> ResolvePagePath(const std::filesystem::path& root,
                                                     const std::string& urlPath) {
    if (urlPath.empty() || urlPath[0] != '/') return std::nullopt;
    std::filesystem::path file = root;
    size_t start = 1;
    while (start <= urlPath.size()) {
        size_t end = urlPath.find('/', start);
        if (end == std::string::npos) end = urlPath.size();
        const std::string segment = urlPath.substr(start, end - start);
        start = end + 1;
        if (segment.empty() || segment == ".") continue;
        if (segment == ".." || segment.find_first_of(std::string("\\:\0", 3)) != std::string::npos)
            return std::nullopt;
        file /= std::filesystem::u8path(segment);
    }
    std::error_code error;
    if (std::filesystem::is_directory(file, error)) file /= "index.html";
    if (!std::filesystem::is_regular_file(file, error)) return std::nullopt;
    return file;
}

std::string ContentTypeOf(const std::filesystem::path& file) {
    static const std::pair<const char*, const char*> kTypes[] = {
        {".html", "text/html; charset=utf-8"},
        {".htm", "text/html; charset=utf-8"},
        {".js", "text/javascript; charset=utf-8"},
        {".mjs", "text/javascript; charset=utf-8"},
        {".css", "text/css; charset=utf-8"},
        {".json", "application/json"},
        {".map", "application/json"},
        {".svg", "image/svg+xml"},
        {".png", "image/png"},
        {".jpg", "image/jpeg"},
        {".jpeg", "image/jpeg"},
        {".gif", "image/gif"},
        {".ico", "image/x-icon"},
        {".woff2", "font/woff2"},
        {".txt", "text/plain; charset=utf-8"},
    };
    const std::string extension = Lower(file.extension().u8string());
    for (const auto& [ext, type] : kTypes) {
        if (extension == ext) return type;
    }
    return "application/octet-stream";
}

bool IsHtmlFile(const std::filesystem::path& file) {
    const std::string extension = Lower(file.extension().u8string());
    return extension == ".html" || extension == ".htm";
}

bool BundlesSdk(const std::string& html) {
    const std::string lower = Lower(html);
    for (size_t at = lower.find("<meta"); at != std::string::npos; at = lower.find("<meta", at + 5)) {
        const std::string tag = lower.substr(at, lower.find('>', at) - at);
        if (tag.find("moxh5-sdk") != std::string::npos && tag.find("bundled") != std::string::npos)
            return true;
    }
    return false;
}

std::string InjectDevScripts(const std::string& html, const std::string& devConfig) {
    // "</" inside the config would end the script element early.
    std::string config;
    for (size_t i = 0; i < devConfig.size(); ++i) {
        config += devConfig[i];
        if (devConfig[i] == '<' && i + 1 < devConfig.size() && devConfig[i + 1] == '/')
            config += "\\";
    }
    std::string scripts = "<script>globalThis.__MOXH5_DEV__ = " + config + ";</script>\n";
    if (!BundlesSdk(html)) scripts += "<script src=\"/__moxh5/sdk.js\"></script>\n";
    const size_t head = Lower(html).find("</head>");
    if (head == std::string::npos) return scripts + html;
    return html.substr(0, head) + scripts + html.substr(head);
}

}  // namespace moxh5::devhost
