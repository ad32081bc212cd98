// Local paths under POSIX rules: absolute from "/", names compared exactly.
#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <memory>

#include "moxh5/platform.h"

namespace moxh5::platform {

PathRules LocalPathRules() { return PathRules::kPosix; }

std::optional<LocalPath> CheckLocalPath(std::wstring_view path, const char** refusal) {
    auto refuse = [refusal](const char* why) -> std::optional<LocalPath> {
        if (refusal) *refusal = why;
        return std::nullopt;
    };
    for (wchar_t c : path) {
        if (c < 0x20 || c == 0x7F) return refuse("control character in a path");
    }
    if (path.empty() || path[0] != L'/') return refuse("not an absolute local path");
    // Two leading slashes may name something else than the root (POSIX leaves
    // their meaning to the system).
    if (path.size() > 1 && path[1] == L'/') return refuse("network or device path");

    LocalPath local;
    size_t start = 1;
    while (start <= path.size()) {
        size_t end = path.find(L'/', start);
        if (end == std::wstring_view::npos) end = path.size();
        const std::wstring_view segment = path.substr(start, end - start);
        start = end + 1;
        if (segment.empty() || segment == L".") continue;
        if (segment == L"..") return refuse("parent segment in a path");
        local.native += L'/';
        local.native += segment;
    }
    if (local.native.empty()) local.native = L"/";
    local.key = local.native;
    if (refusal) *refusal = nullptr;
    return local;
}

namespace {

// realpath's result, or nullopt with its errno in `error`.
std::optional<std::string> RealPath(const std::string& path, int& error) {
    errno = 0;
    char* resolved = ::realpath(path.c_str(), nullptr);
    error = errno;
    if (!resolved) return std::nullopt;
    const std::unique_ptr<char, decltype(&std::free)> owned(resolved, &std::free);
    return std::string(resolved);
}

}  // namespace

std::optional<std::wstring> FinalPath(const std::wstring& path) {
    std::string rest = WideToUtf8(path);
    if (rest.empty() || rest[0] != '/') return std::nullopt;
    // Names that do not exist yet, last first.
    std::string missing;
    for (;;) {
        int error = 0;
        if (std::optional<std::string> resolved = RealPath(rest, error)) {
            if (resolved->back() != '/' && !missing.empty()) *resolved += '/';
            return Utf8ToWide(*resolved + missing);
        }
        struct stat info {};
        // Only a name that is not there at all, not even as a dangling link,
        // may be resolved through its parent.
        if (error != ENOENT || ::lstat(rest.c_str(), &info) == 0) return std::nullopt;
        const size_t slash = rest.rfind('/');
        if (slash == std::string::npos || rest == "/") return std::nullopt;
        const std::string name = rest.substr(slash + 1);
        missing = missing.empty() ? name : name + "/" + missing;
        rest.erase(slash == 0 ? 1 : slash);
    }
}

}  // namespace moxh5::platform
