// OS version, bitness and screen size. The version and the emulation checks
// are looked up at run time: the entry points are missing on older systems.
#include <windows.h>

#include "moxh5/platform.h"

namespace moxh5::platform {
namespace {

using RtlGetNtVersionNumbersFn = void(WINAPI*)(DWORD* major, DWORD* minor, DWORD* build);
using IsWow64Process2Fn = BOOL(WINAPI*)(HANDLE process, USHORT* processMachine,
                                        USHORT* nativeMachine);
using IsWow64ProcessFn = BOOL(WINAPI*)(HANDLE process, BOOL* wow64);

// GetProcAddress's generic result as the entry point's real type.
template <typename Fn>
Fn EntryPoint(HMODULE module, const char* name) {
    return reinterpret_cast<Fn>(reinterpret_cast<void*>(::GetProcAddress(module, name)));
}

// Whether this 32-bit process runs under emulation on a 64-bit Windows.
bool RunsUnderEmulation() {
    uint32_t majorVersion = 0, minorVersion = 0, buildNumber = 0;
    const HMODULE kernel = ::GetModuleHandleW(L"kernel32");
    if (!kernel) return false;
    // IsWow64Process2 exists from Windows 10 on; it also sees emulation on ARM64.
    if (GetNtVersionNumbers(majorVersion, minorVersion, buildNumber) && majorVersion >= 10) {
        if (const auto isWow64Process2 = EntryPoint<IsWow64Process2Fn>(kernel, "IsWow64Process2")) {
            USHORT processMachine = 0;  // IMAGE_FILE_MACHINE_UNKNOWN: not emulated
            USHORT nativeMachine = 0;
            if (isWow64Process2(::GetCurrentProcess(), &processMachine, &nativeMachine)) {
                return processMachine != IMAGE_FILE_MACHINE_UNKNOWN;
            }
        }
    }
    if (const auto isWow64Process = EntryPoint<IsWow64ProcessFn>(kernel, "IsWow64Process")) {
        BOOL wow64 = FALSE;
        isWow64Process(::GetCurrentProcess(), &wow64);
        return wow64 != FALSE;
    }
    return false;
}

}  // namespace

bool GetNtVersionNumbers(uint32_t& majorVersion, uint32_t& minorVersion, uint32_t& buildNumber) {
    const HMODULE ntdll = ::LoadLibraryW(L"ntdll.dll");
    if (!ntdll) return false;
    if (const auto read = EntryPoint<RtlGetNtVersionNumbersFn>(ntdll, "RtlGetNtVersionNumbers")) {
        DWORD major = 0, minor = 0, build = 0;
        read(&major, &minor, &build);
        // The top bits of the build number are flags (0xF0000000 on release
        // builds), not part of the number.
        majorVersion = major & 0xFFFF;
        minorVersion = minor & 0xFFFF;
        buildNumber = build & 0xFFFF;
    }
    ::FreeLibrary(ntdll);
    return true;
}

int OsBitness() {
    if constexpr (sizeof(void*) == 8) {
        return 64;  // a 64-bit program runs only on a 64-bit Windows
    } else {
        return RunsUnderEmulation() ? 64 : 32;
    }
}

ScreenSize PrimaryScreenSize() {
    ScreenSize size;
    size.width = ::GetSystemMetrics(SM_CXSCREEN);
    size.height = ::GetSystemMetrics(SM_CYSCREEN);
    return size;
}

}  // namespace moxh5::platform
