# Cross toolchain: 64-bit Windows with Debian's mingw-w64 (posix thread model).
#
# Use:  cmake -G Ninja -DCMAKE_TOOLCHAIN_FILE=cmake/toolchains/x86_64-w64-mingw32.cmake ...
# Static third-party libraries are looked up in <repo>/.deps/x86_64-w64-mingw32,
# which tools/setup.sh fills.

set(MOXH5_MINGW_TRIPLE x86_64-w64-mingw32)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
include(${CMAKE_CURRENT_LIST_DIR}/mingw-w64-common.cmake)

# Run test programs (ctest, gtest discovery, try_run) under Wine.
set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_CURRENT_LIST_DIR}/wine-run.sh")
