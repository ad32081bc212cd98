# Cross toolchain: 32-bit Windows with Debian's mingw-w64 (posix thread model).
#
# Use:  cmake -G Ninja -DCMAKE_TOOLCHAIN_FILE=cmake/toolchains/i686-w64-mingw32.cmake ...
# Static third-party libraries are looked up in <repo>/.deps/i686-w64-mingw32,
# which tools/setup.sh fills.

set(MOXH5_MINGW_TRIPLE i686-w64-mingw32)
set(CMAKE_SYSTEM_PROCESSOR i686)
include(${CMAKE_CURRENT_LIST_DIR}/mingw-w64-common.cmake)

# This target uses DWARF-2 unwinding, and with the static runtime each module
# carries its own unwinder, so a C++ exception must not propagate out of a DLL
# into its caller.

# 32-bit programs need Wine's 32-bit Unix side (Debian: wine32:i386, which
# needs i386 multiarch). Only then are test programs run under Wine; otherwise
# the i686 build is build-only. MOXH5_WINE32=0/1 in the environment overrides
# the detection.
if(DEFINED ENV{MOXH5_WINE32})
  set(_moxh5_wine32 "$ENV{MOXH5_WINE32}")
else()
  file(GLOB _moxh5_wine32
    /usr/lib/wine/wine
    /usr/lib/i386-linux-gnu/wine/i386-unix
    /usr/lib/wine/i386-unix
    /usr/lib32/wine/i386-unix)
endif()
if(_moxh5_wine32)
  set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_CURRENT_LIST_DIR}/wine-run.sh")
endif()
unset(_moxh5_wine32)
