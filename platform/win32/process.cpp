#include <windows.h>

#include <algorithm>
#include <vector>

#include "moxh5/platform.h"

namespace moxh5::platform {

std::optional<std::string> GetEnvironmentText(const std::string& name, size_t maxChars) {
    std::vector<char> buffer(maxChars + 1, '\0');
    ::SetLastError(ERROR_SUCCESS);
    const DWORD length =
        ::GetEnvironmentVariableA(name.c_str(), buffer.data(), static_cast<DWORD>(buffer.size()));
    if (length == 0) {
        if (::GetLastError() == ERROR_ENVVAR_NOT_FOUND) return std::nullopt;
        return std::string();
    }
    // A value longer than the buffer reports the size it needs and copies
    // nothing; fetch it whole and cut it, as the POSIX side does.
    if (length >= buffer.size()) {
        std::vector<char> whole(length + 1, '\0');
        const DWORD copied = ::GetEnvironmentVariableA(name.c_str(), whole.data(), length + 1);
        if (copied == 0 || copied > length) return std::string();
        return std::string(whole.data(), std::min<size_t>(copied, maxChars));
    }
    return std::string(buffer.data(), length);
}

uint32_t CurrentProcessId() { return static_cast<uint32_t>(::GetCurrentProcessId()); }

}  // namespace moxh5::platform
