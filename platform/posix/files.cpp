// Files by path converted to UTF-8, the file-name encoding of POSIX desktops.
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "moxh5/platform.h"

namespace moxh5::platform {
namespace {
RemoveFileHook g_removeFileHook = nullptr;
}

bool FileExists(const std::wstring& path) {
    struct stat info {};
    return !path.empty() && ::stat(WideToUtf8(path).c_str(), &info) == 0;
}

void SetRemoveFileHook(RemoveFileHook hook) { g_removeFileHook = hook; }

// unlink, not remove(): remove() would take an empty directory as well, which
// the Windows removal refuses.
int RemoveFile(const std::wstring& path) {
    if (g_removeFileHook) return g_removeFileHook(path);
    if (::unlink(WideToUtf8(path).c_str()) == 0) return 0;
    return errno != 0 ? errno : EIO;
}

std::optional<uint64_t> RegularFileSize(const std::wstring& path) {
    struct stat info {};
    if (path.empty() || ::stat(WideToUtf8(path).c_str(), &info) != 0) return std::nullopt;
    if (!S_ISREG(info.st_mode)) return std::nullopt;
    return static_cast<uint64_t>(info.st_size);
}

}  // namespace moxh5::platform
