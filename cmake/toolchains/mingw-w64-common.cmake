# Settings shared by the mingw-w64 toolchain files. The including file sets
# MOXH5_MINGW_TRIPLE and CMAKE_SYSTEM_PROCESSOR first.

set(CMAKE_SYSTEM_NAME Windows)

# The -posix variants provide std::thread / std::mutex through winpthreads.
set(CMAKE_C_COMPILER   ${MOXH5_MINGW_TRIPLE}-gcc-posix)
set(CMAKE_CXX_COMPILER ${MOXH5_MINGW_TRIPLE}-g++-posix)
set(CMAKE_RC_COMPILER  ${MOXH5_MINGW_TRIPLE}-windres)

# This file lives in <repo>/cmake/toolchains.
get_filename_component(MOXH5_REPO_ROOT "${CMAKE_CURRENT_LIST_DIR}/../.." ABSOLUTE)
set(MOXH5_DEPS_PREFIX "${MOXH5_REPO_ROOT}/.deps/${MOXH5_MINGW_TRIPLE}")

# Look for headers, libraries and CMake packages only in the mingw sysroot and
# in the dependency prefix, never in the host's /usr; host programs stay usable.
set(CMAKE_FIND_ROOT_PATH "/usr/${MOXH5_MINGW_TRIPLE}" "${MOXH5_DEPS_PREFIX}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
# The toolchain file is read again for every try_compile: do not append twice.
if(NOT "${MOXH5_DEPS_PREFIX}" IN_LIST CMAKE_PREFIX_PATH)
  list(APPEND CMAKE_PREFIX_PATH "${MOXH5_DEPS_PREFIX}")
endif()

# Link libgcc, libstdc++ and winpthreads statically into every exe and dll, so
# that nothing needs libgcc_s_*.dll, libstdc++-6.dll or libwinpthread-1.dll at
# run time; only Windows system DLLs stay as imports. With -static the
# driver's own -lpthread resolves to the static archive, so winpthreads objects
# are pulled in only where needed (no --whole-archive, nothing re-exported).
set(CMAKE_EXE_LINKER_FLAGS_INIT    "-static")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "-static")
