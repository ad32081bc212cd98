// OS version and bitness from the kernel (uname). No display library is part
// of the build, so the screen size is reported as 0 x 0.
#include <sys/utsname.h>

#include <cstdio>
#include <cstring>

#include "moxh5/platform.h"

namespace moxh5::platform {

bool GetNtVersionNumbers(uint32_t& majorVersion, uint32_t& minorVersion, uint32_t& buildNumber) {
    struct utsname names {};
    if (::uname(&names) != 0) return false;
    // "6.1.0-18-amd64": the first three numbers; missing ones read as 0.
    unsigned numbers[3] = {0, 0, 0};
    std::sscanf(names.release, "%u.%u.%u", &numbers[0], &numbers[1], &numbers[2]);
    majorVersion = numbers[0] & 0xFFFF;
    minorVersion = numbers[1] & 0xFFFF;
    buildNumber = numbers[2] & 0xFFFF;
    return true;
}

int OsBitness() {
    if constexpr (sizeof(void*) == 8) {
        return 64;
    } else {
        // A 32-bit program on a 64-bit kernel: x86_64, aarch64, ppc64, ...
        struct utsname names {};
        return (::uname(&names) == 0 && std::strstr(names.machine, "64")) ? 64 : 32;
    }
}

ScreenSize PrimaryScreenSize() { return ScreenSize{}; }

}  // namespace moxh5::platform
