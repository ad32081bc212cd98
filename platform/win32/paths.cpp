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

namespace {

// The final path of what `path` names, read from a handle on it; nullopt
// with the error in `error` when it cannot be opened.
std::optional<std::wstring> FinalPathOfExisting(const std::wstring& path, DWORD& error) {
    // No access asked for: enough to read the name, and no sharing conflict.
    // Directories open only with backup semantics.
    const HANDLE file =
        ::CreateFileW(path.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                      nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        error = ::GetLastError();
        return std::nullopt;
    }
    std::wstring name(MAX_PATH, L'\0');
    DWORD size = ::GetFinalPathNameByHandleW(file, name.data(), static_cast<DWORD>(name.size()),
                                             FILE_NAME_NORMALIZED | VOLUME_NAME_DOS);
    if (size >= name.size()) {
        name.resize(size);
        size = ::GetFinalPathNameByHandleW(file, name.data(), static_cast<DWORD>(name.size()),
                                           FILE_NAME_NORMALIZED | VOLUME_NAME_DOS);
    }
    error = ::GetLastError();
    ::CloseHandle(file);
    if (size == 0 || size >= name.size()) return std::nullopt;
    name.resize(size);
    constexpr std::wstring_view kUnc = L"\\\\?\\UNC\\";
    constexpr std::wstring_view kLong = L"\\\\?\\";
    if (name.compare(0, kUnc.size(), kUnc) == 0) return L"\\\\" + name.substr(kUnc.size());
    if (name.compare(0, kLong.size(), kLong) == 0) return name.substr(kLong.size());
    return name;
}

}  // namespace

std::optional<std::wstring> FinalPath(const std::wstring& path) {
    std::wstring rest = path;
    // Names that do not exist yet, last first.
    std::wstring missing;
    for (;;) {
        DWORD error = 0;
        if (std::optional<std::wstring> resolved = FinalPathOfExisting(rest, error)) {
            if (!missing.empty() && resolved->back() != L'\\') *resolved += L'\\';
            return *resolved + missing;
        }
        // Only a name that is not there at all, not even as a dangling link,
        // may be resolved through its parent.
        if ((error != ERROR_FILE_NOT_FOUND && error != ERROR_PATH_NOT_FOUND) ||
            ::GetFileAttributesW(rest.c_str()) != INVALID_FILE_ATTRIBUTES) {
            return std::nullopt;
        }
        const size_t separator = rest.find_last_of(L"\\/");
        // "C:\" is the last ancestor there is.
        if (separator == std::wstring::npos || separator < 2 || rest.size() <= 3) {
            return std::nullopt;
        }
        const std::wstring name = rest.substr(separator + 1);
        missing = missing.empty() ? name : name + L"\\" + missing;
        rest.erase(separator == 2 ? 3 : separator);
    }
}

}  // namespace moxh5::platform
