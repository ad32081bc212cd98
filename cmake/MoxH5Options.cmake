# Compiler settings shared by every target of the project.

add_library(moxh5_options INTERFACE)
add_library(moxh5::options ALIAS moxh5_options)

if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
    target_compile_options(moxh5_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow
                                                   -Wnon-virtual-dtor -Wconversion -Wno-sign-conversion)
    if(MOXH5_WARNINGS_AS_ERRORS)
        target_compile_options(moxh5_options INTERFACE -Werror)
    endif()
elseif(MSVC)
    # UTF-8 sources and literals, standard conformance, C++ exceptions only.
    target_compile_options(moxh5_options INTERFACE /utf-8 /W4 /permissive- /EHsc)
    if(MOXH5_WARNINGS_AS_ERRORS)
        target_compile_options(moxh5_options INTERFACE /WX)
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

# Moves a Windows DLL's DWARF debug information and symbol table (most of its
# size) into <dll>.debug beside it and links the two with .gnu_debuglink, so
# that the DLL a host ships is stripped and a debugger still finds the
# symbols. Exports and base relocations are kept: they are not symbols. Needs
# the GNU toolchain's objcopy; a no-op elsewhere.
function(moxh5_split_debug_info target)
    if(NOT WIN32 OR MSVC OR NOT CMAKE_OBJCOPY)
        return()
    endif()
    set(dll $<TARGET_FILE:${target}>)
    add_custom_command(TARGET ${target} POST_BUILD
        COMMAND ${CMAKE_OBJCOPY} --only-keep-debug ${dll} ${dll}.debug
        COMMAND ${CMAKE_OBJCOPY} --strip-all ${dll}
        COMMAND ${CMAKE_OBJCOPY} --add-gnu-debuglink=${dll}.debug ${dll}
        WORKING_DIRECTORY $<TARGET_FILE_DIR:${target}>
        COMMENT "Splitting the debug information of ${target} into its .debug file"
        VERBATIM)
endfunction()
