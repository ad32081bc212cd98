// UTF-8 <-> UTF-16 through the Win32 code-page functions; wchar_t is UTF-16.
#include <windows.h>

#include <climits>

#include "moxh5/platform.h"

namespace moxh5::platform {

std::wstring Utf8ToWide(std::string_view utf8) {
    if (utf8.empty() || utf8.size() > INT_MAX) return {};
    const int length = static_cast<int>(utf8.size());
    const int size = ::MultiByteToWideChar(CP_UTF8, 0, utf8.data(), length, nullptr, 0);
    if (size <= 0) return {};
    std::wstring out(static_cast<size_t>(size), L'\0');
    ::MultiByteToWideChar(CP_UTF8, 0, utf8.data(), length, out.data(), size);
    return out;
}

std::string WideToUtf8(std::wstring_view wide) {
    if (wide.empty() || wide.size() > INT_MAX) return {};
    const int length = static_cast<int>(wide.size());
    const int size =
        ::WideCharToMultiByte(CP_UTF8, 0, wide.data(), length, nullptr, 0, nullptr, nullptr);
    if (size <= 0) return {};
    std::string out(static_cast<size_t>(size), '\0');
    ::WideCharToMultiByte(CP_UTF8, 0, wide.data(), length, out.data(), size, nullptr, nullptr);
    return out;
}

// wchar_t is UTF-16 here: the units are copied as they are.
std::u16string WideToUtf16(std::wstring_view wide) {
    return std::u16string(wide.begin(), wide.end());
}

std::wstring Utf16ToWide(std::u16string_view utf16) {
    return std::wstring(utf16.begin(), utf16.end());
}

}  // namespace moxh5::platform
