# Compiler settings shared by every target of the project.

add_library(moxh5_options INTERFACE)
add_library(moxh5::options ALIAS moxh5_options)

if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
    target_compile_options(moxh5_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow
                                                   -Wnon-virtual-dtor -Wconversion -Wno-sign-conversion)
    if(MOXH5_WARNINGS_AS_ERRORS)
        target_compile_options(moxh5_options INTERFACE -Werror)
    endif()
endif()

if(MOXH5_SANITIZERS)
    target_compile_options(moxh5_options INTERFACE -fsanitize=${MOXH5_SANITIZERS}
                                                   -fno-omit-frame-pointer -fno-sanitize-recover=all)
    target_link_options(moxh5_options INTERFACE -fsanitize=${MOXH5_SANITIZERS})
endif()

if(MOXH5_FUZZ)
    # Coverage feedback for libFuzzer in every object; the fuzz targets link
    # the fuzzer's main themselves.
    target_compile_options(moxh5_options INTERFACE -fsanitize=fuzzer-no-link)
endif()

if(WIN32)
    # Unicode Win32 API, no min/max macros, a lean windows.h.
    target_compile_definitions(moxh5_options INTERFACE UNICODE _UNICODE NOMINMAX
                                                       WIN32_LEAN_AND_MEAN _WIN32_WINNT=0x0601)
endif()
