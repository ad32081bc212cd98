# Installs the build into a scratch prefix inside the build tree and checks
# what a host receives:
#   - the include root holds folders only (moxh5/, the stand-ins' moxhost/),
#     and every installed header compiles on its own (nothing private
#     included);
#   - lib/pkgconfig/moxh5.pc is installed; with PKG_CONFIG given, the flags it
#     gives build and run a C program against the C interface and the example
#     host against the C++ one (which includes "MoxLog.h" as hosts do);
#   - on ELF systems, no installed library carries a search path other than
#     $ORIGIN (the build tree's folders must not leak into a host's search
#     path), the library carries $ORIGIN to find the stand-ins beside it, its
#     SONAME is libmoxh5.so.<ABI number>, and the stand-ins' is
#     libmoxhostlibs.so.<their ABI number>, the name the library records;
#   - the files named in INSTALLED (lib/libmoxh5.dll.a, lib/moxh5.lib...).
# Usage: cmake -DBUILD_DIR=<dir> -DPREFIX=<dir> -DCXX=<compiler> -DJSON_INCLUDE=<dir>
#              [-DINSTALLED=<path;path> relative to PREFIX]
#              [-DREADELF=<readelf> -DABI_VERSION=<n> -DHOSTLIBS_ABI_VERSION=<n>]
#              [-DPKG_CONFIG=<pkg-config> -DCC=<C compiler> -DCONSUMER=<main.cpp>]
#              -P check_installed_package.cmake
file(REMOVE_RECURSE ${PREFIX})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${PREFIX}
                OUTPUT_QUIET RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
    message(FATAL_ERROR "cmake --install failed")
endif()

foreach(path IN LISTS INSTALLED)
    if(NOT EXISTS ${PREFIX}/${path})
        message(FATAL_ERROR "${path} is not installed")
    endif()
endforeach()

file(GLOB loose LIST_DIRECTORIES false ${PREFIX}/include/*)
if(loose)
    message(FATAL_ERROR "files in the include root: ${loose}")
endif()
file(GLOB_RECURSE headers RELATIVE ${PREFIX}/include ${PREFIX}/include/*.h)
list(LENGTH headers header_count)
if(header_count LESS 5)
    message(FATAL_ERROR "only ${header_count} headers installed: ${headers}")
endif()
set(failed "")
set(sources ${PREFIX}-headers)
file(REMOVE_RECURSE ${sources})
foreach(header IN LISTS headers)
    # One source file that includes the header and nothing else.
    string(MAKE_C_IDENTIFIER ${header} name)
    file(WRITE ${sources}/${name}.cpp "#include \"${header}\"\n")
    execute_process(COMMAND ${CXX} -std=c++17 -fsyntax-only -Wall -Wextra -Wpedantic -Werror
                            -I${PREFIX}/include -isystem ${JSON_INCLUDE} ${sources}/${name}.cpp
                    RESULT_VARIABLE rc ERROR_VARIABLE errors)
    if(NOT rc EQUAL 0)
        message("${header} does not compile on its own:\n${errors}")
        list(APPEND failed ${header})
    endif()
endforeach()
if(failed)
    message(FATAL_ERROR "headers not standalone: ${failed}")
endif()
message(STATUS "${header_count} installed headers compile on their own")

file(GLOB pc_file ${PREFIX}/lib*/pkgconfig/moxh5.pc)
if(NOT pc_file)
    message(FATAL_ERROR "no lib/pkgconfig/moxh5.pc installed")
endif()

# Runs a program built from the flags pkg-config gives; fails with its output.
function(build_and_run what)
    cmake_parse_arguments(ARG "" "" "COMPILE" ${ARGN})
    execute_process(COMMAND ${ARG_COMPILE} RESULT_VARIABLE rc ERROR_VARIABLE errors)
    if(NOT rc EQUAL 0)
        message(FATAL_ERROR "${what} does not build with pkg-config's flags:\n${ARG_COMPILE}\n${errors}")
    endif()
    execute_process(COMMAND ${PREFIX}-pkgconfig/${what} RESULT_VARIABLE rc OUTPUT_VARIABLE out
                    ERROR_VARIABLE out)
    if(NOT rc EQUAL 0)
        message(FATAL_ERROR "${what}, built with pkg-config's flags, failed (${rc}):\n${out}")
    endif()
endfunction()

if(PKG_CONFIG)
    get_filename_component(pc_dir ${pc_file} DIRECTORY)
    set(search ${pc_dir})
    if(DEFINED ENV{PKG_CONFIG_PATH} AND NOT "$ENV{PKG_CONFIG_PATH}" STREQUAL "")
        string(APPEND search ":$ENV{PKG_CONFIG_PATH}")
    endif()
    set(ENV{PKG_CONFIG_PATH} ${search})
    foreach(query cflags libs libdir)
        if(query STREQUAL "libdir")
            set(args --variable=libdir)
        else()
            set(args --${query})
        endif()
        execute_process(COMMAND ${PKG_CONFIG} ${args} moxh5 RESULT_VARIABLE rc
                        OUTPUT_VARIABLE out ERROR_VARIABLE errors OUTPUT_STRIP_TRAILING_WHITESPACE)
        if(NOT rc EQUAL 0)
            message(FATAL_ERROR "pkg-config ${args} moxh5 failed:\n${errors}")
        endif()
        separate_arguments(pc_${query} UNIX_COMMAND "${out}")
    endforeach()
    if(NOT pc_libs MATCHES "(^|;)-lmoxh5(;|$)")
        message(FATAL_ERROR "pkg-config --libs moxh5 names no -lmoxh5: ${pc_libs}")
    endif()
    # pkg-config gives no language standard: the C++ headers need C++17.
    set(out_dir ${PREFIX}-pkgconfig)
    file(REMOVE_RECURSE ${out_dir})
    file(MAKE_DIRECTORY ${out_dir})
    set(rpath -Wl,-rpath,${pc_libdir})
    if(CC)
        file(WRITE ${out_dir}/c_host.c [=[
#include <stdio.h>

#include <moxh5/moxh5_c.h>

int main(void) {
    unsigned version = moxh5_abi_version();
    printf("C interface ABI %u, header %d\n", version, MOXH5_C_ABI_VERSION);
    return version == MOXH5_C_ABI_VERSION ? 0 : 1;
}
]=])
        build_and_run(c_host COMPILE ${CC} -std=c89 -Wall -Wextra -Werror ${pc_cflags}
                      ${out_dir}/c_host.c -o ${out_dir}/c_host ${pc_libs} ${rpath})
    endif()
    if(CONSUMER)
        build_and_run(consumer COMPILE ${CXX} -std=c++17 -Wall -Wextra -Werror ${pc_cflags}
                      ${CONSUMER} -o ${out_dir}/consumer ${pc_libs} ${rpath})
    endif()
    message(STATUS "pkg-config's flags build and run a C host and the example host")
endif()

if(READELF)
    file(GLOB libraries ${PREFIX}/lib*/*.so*)
    if(NOT libraries)
        message(FATAL_ERROR "no shared library installed under ${PREFIX}")
    endif()
    set(hostlibs_soname libmoxhostlibs.so.${HOSTLIBS_ABI_VERSION})
    set(hostlibs_installed FALSE)
    foreach(library IN LISTS libraries)
        if(IS_SYMLINK ${library})
            continue()
        endif()
        execute_process(COMMAND ${READELF} -d ${library} OUTPUT_VARIABLE dynamic RESULT_VARIABLE rc)
        if(NOT rc EQUAL 0)
            message(FATAL_ERROR "readelf failed on ${library}")
        endif()
        set(search_path "")
        if(dynamic MATCHES "\\((RUNPATH|RPATH)\\)[^\n]*\\[([^]\n]*)\\]")
            set(search_path ${CMAKE_MATCH_2})
            if(NOT search_path STREQUAL "$ORIGIN")
                message(FATAL_ERROR "${library} carries the search path ${search_path}")
            endif()
        endif()
        if(library MATCHES "/libmoxh5\\.so")
            if(NOT dynamic MATCHES "soname: \\[libmoxh5\\.so\\.${ABI_VERSION}\\]")
                message(FATAL_ERROR "${library}: SONAME is not libmoxh5.so.${ABI_VERSION}:\n${dynamic}")
            endif()
            if(NOT search_path STREQUAL "$ORIGIN")
                message(FATAL_ERROR "${library} does not look for its libraries beside it ($ORIGIN)")
            endif()
            set(moxh5_dynamic "${dynamic}")
        elseif(library MATCHES "/libmoxhostlibs\\.so")
            set(hostlibs_installed TRUE)
            if(NOT dynamic MATCHES "soname: \\[${hostlibs_soname}\\]")
                message(FATAL_ERROR "${library}: SONAME is not ${hostlibs_soname}:\n${dynamic}")
            endif()
        endif()
    endforeach()
    if(hostlibs_installed AND NOT moxh5_dynamic MATCHES "\\(NEEDED\\)[^\n]*\\[${hostlibs_soname}\\]")
        message(FATAL_ERROR "libmoxh5 does not need ${hostlibs_soname}:\n${moxh5_dynamic}")
    endif()
    message(STATUS "installed libraries carry no build folder; SONAME libmoxh5.so.${ABI_VERSION}")
endif()
