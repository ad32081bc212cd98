// Local paths under POSIX rules: absolute from "/", names compared exactly.
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

}  // namespace moxh5::platform
