// Files by wide path: shlwapi for existence, the C runtime for removal and
// size, so that non-ASCII names need no code-page conversion.
#include <windows.h>
// After windows.h, whose definitions they need.
#include <shlwapi.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>

#include "moxh5/platform.h"

namespace moxh5::platform {
namespace {
RemoveFileHook g_removeFileHook = nullptr;
}

bool FileExists(const std::wstring& path) { return ::PathFileExistsW(path.c_str()) != FALSE; }

void SetRemoveFileHook(RemoveFileHook hook) { g_removeFileHook = hook; }

int RemoveFile(const std::wstring& path) {
    if (g_removeFileHook) return g_removeFileHook(path);
    if (::_wremove(path.c_str()) == 0) return 0;
    return errno != 0 ? errno : EIO;
}

std::optional<uint64_t> RegularFileSize(const std::wstring& path) {
    struct _stat64 info {};
    if (::_wstat64(path.c_str(), &info) != 0) return std::nullopt;
    if ((info.st_mode & _S_IFMT) != _S_IFREG) return std::nullopt;
    return static_cast<uint64_t>(info.st_size);
}

}  // namespace moxh5::platform
