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

# Test programs run under Wine. 32-bit programs need Wine's 32-bit side
# (Debian: wine32:i386, which needs i386 multiarch); where it is missing,
# wine-run.sh exits with 77 and CTest reports each test as skipped.
set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_CURRENT_LIST_DIR}/wine-run.sh")
