# Installs the build into a scratch prefix inside the build tree and checks
# what a host receives:
#   - every installed header compiles on its own (nothing private included);
#   - on ELF systems, no installed library carries a search path other than
#     $ORIGIN (the build tree's folders must not leak into a host's search
#     path), and the library's SONAME is libmoxh5.so.<ABI number>.
# Usage: cmake -DBUILD_DIR=<dir> -DPREFIX=<dir> -DCXX=<compiler> -DJSON_INCLUDE=<dir>
#              [-DREADELF=<readelf> -DABI_VERSION=<n>] -P check_installed_package.cmake
file(REMOVE_RECURSE ${PREFIX})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${PREFIX}
                OUTPUT_QUIET RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
    message(FATAL_ERROR "cmake --install failed")
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

if(READELF)
    file(GLOB libraries ${PREFIX}/lib*/*.so*)
    if(NOT libraries)
        message(FATAL_ERROR "no shared library installed under ${PREFIX}")
    endif()
    foreach(library IN LISTS libraries)
        if(IS_SYMLINK ${library})
            continue()
        endif()
        execute_process(COMMAND ${READELF} -d ${library} OUTPUT_VARIABLE dynamic RESULT_VARIABLE rc)
        if(NOT rc EQUAL 0)
            message(FATAL_ERROR "readelf failed on ${library}")
        endif()
        if(dynamic MATCHES "\\((RUNPATH|RPATH)\\)[^\n]*\\[([^]\n]*)\\]")
            if(NOT CMAKE_MATCH_2 STREQUAL "$ORIGIN")
                message(FATAL_ERROR "${library} carries the search path ${CMAKE_MATCH_2}")
            endif()
        endif()
        if(library MATCHES "/libmoxh5\\.so" AND NOT dynamic MATCHES "soname: \\[libmoxh5\\.so\\.${ABI_VERSION}\\]")
            message(FATAL_ERROR "${library}: SONAME is not libmoxh5.so.${ABI_VERSION}:\n${dynamic}")
        endif()
    endforeach()
    message(STATUS "installed libraries carry no build folder; SONAME libmoxh5.so.${ABI_VERSION}")
endif()
