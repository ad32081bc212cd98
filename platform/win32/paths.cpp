// Local paths under Windows rules: a drive letter first, "\" or "/" as
// separators, names compared without case.
#include <windows.h>

#include <array>

#include "moxh5/platform.h"

namespace moxh5::platform {
namespace {

bool IsSeparator(wchar_t c) { return c == L'\\' || c == L'/'; }

bool IsDriveLetter(wchar_t c) { return (c >= L'A' && c <= L'Z') || (c >= L'a' && c <= L'z'); }

bool IsForbiddenInName(wchar_t c) {
    return c < 0x20 || c == L'<' || c == L'>' || c == L'"' || c == L'|' || c == L'?' || c == L'*';
}

wchar_t AsciiUpper(wchar_t c) { return (c >= L'a' && c <= L'z') ? c - L'a' + L'A' : c; }

// The names Windows maps to devices in every directory: the part before the
// first dot counts, trailing spaces ignored ("nul.txt", "COM1 .log").
bool IsReservedDeviceName(std::wstring_view segment) {
    std::wstring_view base = segment.substr(0, segment.find(L'.'));
    while (!base.empty() && base.back() == L' ') base.remove_suffix(1);
    std::wstring upper;
    for (wchar_t c : base) upper += AsciiUpper(c);
    static constexpr std::array<std::wstring_view, 6> kNames = {L"CON", L"PRN",    L"AUX",
                                                                L"NUL", L"CONIN$", L"CONOUT$"};
    for (std::wstring_view name : kNames) {
        if (upper == name) return true;
    }
    if (upper.size() != 4) return false;
    const std::wstring_view stem(upper.data(), 3);
    const wchar_t digit = upper[3];
    const bool isDigit = (digit >= L'0' && digit <= L'9') || digit == L'\u00B9' ||
                         digit == L'\u00B2' || digit == L'\u00B3';
    return isDigit && (stem == L"COM" || stem == L"LPT");
}

std::wstring ComparisonKey(const std::wstring& native) {
    std::wstring key = native;
    if (!key.empty()) ::CharUpperBuffW(key.data(), static_cast<DWORD>(key.size()));
    for (wchar_t& c : key) {
        if (c == L'\\') c = L'/';
    }
    return key;
}

// The refusal for one name of a path, or null.
const char* SegmentRefusal(std::wstring_view segment) {
    for (wchar_t c : segment) {
        if (c == L':') return "alternate data stream or colon in a path";
        if (IsForbiddenInName(c)) return "character not allowed in a file name";
    }
    if (segment == L"..") return "parent segment in a path";
    // Windows drops trailing dots and spaces, so such a name opens another.
    if (segment.back() == L'.' || segment.back() == L' ') return "name ending in a dot or space";
    if (IsReservedDeviceName(segment)) return "reserved device name";
    return nullptr;
}

}  // namespace

PathRules LocalPathRules() { return PathRules::kWindows; }

std::optional<LocalPath> CheckLocalPath(std::wstring_view path, const char** refusal) {
    auto refuse = [refusal](const char* why) -> std::optional<LocalPath> {
        if (refusal) *refusal = why;
        return std::nullopt;
    };
    for (wchar_t c : path) {
        if (c < 0x20) return refuse("control character in a path");
    }
    if (path.size() >= 2 && IsSeparator(path[0]) && IsSeparator(path[1])) {
        return refuse("network or device path");
    }
    if (path.size() < 3 || !IsDriveLetter(path[0]) || path[1] != L':' || !IsSeparator(path[2])) {
        return refuse("not an absolute local path");
    }

    LocalPath local;
    local.native.assign(path.substr(0, 2));
    size_t start = 3;
    while (start <= path.size()) {
        size_t end = start;
        while (end < path.size() && !IsSeparator(path[end])) ++end;
        const std::wstring_view segment = path.substr(start, end - start);
        start = end + 1;
        if (segment.empty() || segment == L".") continue;
        if (const char* why = SegmentRefusal(segment)) return refuse(why);
        local.native += L'\\';
        local.native += segment;
    }
    if (local.native.size() == 2) local.native += L'\\';
    local.key = ComparisonKey(local.native);
    if (refusal) *refusal = nullptr;
    return local;
}

}  // namespace moxh5::platform
