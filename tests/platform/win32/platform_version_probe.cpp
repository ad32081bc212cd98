#include "platform_version_probe.h"

#include <windows.h>

#include <vector>

namespace moxh5::test {

std::string ReadLibraryFileVersion() {
    HMODULE library = ::GetModuleHandleW(L"moxh5.dll");
    if (!library) return "not loaded";
    wchar_t path[MAX_PATH] = {};
    if (!::GetModuleFileNameW(library, path, MAX_PATH)) return "no path";
    DWORD ignored = 0;
    const DWORD size = ::GetFileVersionInfoSizeW(path, &ignored);
    if (size == 0) return "no version resource";
    std::vector<char> data(size);
    if (!::GetFileVersionInfoW(path, 0, size, data.data())) return "unreadable";
    VS_FIXEDFILEINFO* info = nullptr;
    UINT length = 0;
    if (!::VerQueryValueW(data.data(), L"\\", reinterpret_cast<void**>(&info), &length) || !info) {
        return "no fixed file info";
    }
    return std::to_string(HIWORD(info->dwFileVersionMS)) + "." +
           std::to_string(LOWORD(info->dwFileVersionMS)) + "." +
           std::to_string(HIWORD(info->dwFileVersionLS)) + "." +
           std::to_string(LOWORD(info->dwFileVersionLS));
}

}  // namespace moxh5::test
