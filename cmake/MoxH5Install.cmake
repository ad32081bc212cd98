# Install rules and the CMake package: after `cmake --install`, a host finds
# the library with find_package(moxh5) and links moxh5::moxh5.
#
#   include/moxh5/       the public headers (standalone) and version.h
#   include/moxhost/     the stand-ins' headers, when installed (on the
#                        include path of moxh5::hostlibs, so hosts keep
#                        writing #include "MoxLog.h")
#   lib/ (bin/ on Windows)  the library, import libraries, the stand-ins;
#                        on Windows each DLL's debug information beside it
#   lib/cmake/moxh5/     moxh5Config.cmake, its version file and the targets
#   lib/pkgconfig/       moxh5.pc, for hosts built without CMake

include(CMakePackageConfigHelpers)

set(MOXH5_INSTALL_CMAKEDIR ${CMAKE_INSTALL_LIBDIR}/cmake/moxh5)

install(DIRECTORY ${PROJECT_SOURCE_DIR}/core/include/moxh5
                  ${PROJECT_SOURCE_DIR}/platform/public/moxh5
                  ${PROJECT_BINARY_DIR}/generated/moxh5
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
        FILES_MATCHING PATTERN "*.h")

install(TARGETS moxh5 EXPORT moxh5Targets
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(EXPORT moxh5Targets NAMESPACE moxh5:: DESTINATION ${MOXH5_INSTALL_CMAKEDIR})
# Beside the GNU import library libmoxh5.dll.a, the MSVC one (the C
# interface only), when llvm-dlltool made it.
if(TARGET moxh5_msvc_import_lib)
    install(FILES ${MOXH5_MSVC_IMPORT_LIB} DESTINATION ${CMAKE_INSTALL_LIBDIR})
endif()

# The host-library target moxh5::moxh5 links: the host's own CMake file,
# copied as it was given, or the stand-ins in their own export set. Without
# MOXH5_INSTALL_HOST_LIBS the stand-ins are only installed on request
# (cmake --install ... --component HostLibs), and a host defines
# moxh5::hostlibs itself.
set(MOXH5_HOSTLIBS_FILE "")
if(MOXH5_HOST_LIBS_CMAKE)
    set(MOXH5_HOSTLIBS_FILE moxh5HostLibs.cmake)
    install(FILES ${MOXH5_HOST_LIBS_CMAKE} DESTINATION ${MOXH5_INSTALL_CMAKEDIR}
            RENAME ${MOXH5_HOSTLIBS_FILE})
else()
    set(MOXH5_HOSTLIBS_FILE moxh5HostLibsTargets.cmake)
    set(optional)
    if(NOT MOXH5_INSTALL_HOST_LIBS)
        set(optional EXCLUDE_FROM_ALL)
    endif()
    install(TARGETS moxhostlibs EXPORT moxh5HostLibsTargets COMPONENT HostLibs ${optional}
            RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
            LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
            ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
    install(DIRECTORY ${PROJECT_SOURCE_DIR}/host/include/
            DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/moxhost
            COMPONENT HostLibs ${optional} FILES_MATCHING PATTERN "*.h")
    install(EXPORT moxh5HostLibsTargets NAMESPACE moxh5:: DESTINATION ${MOXH5_INSTALL_CMAKEDIR}
            COMPONENT HostLibs ${optional})
    if(WIN32 AND NOT MSVC AND CMAKE_OBJCOPY)
        install(FILES $<TARGET_FILE:moxhostlibs>.debug DESTINATION ${CMAKE_INSTALL_BINDIR}
                COMPONENT HostLibs ${optional})
    endif()
endif()

# The debug information split off the Windows DLL (moxh5_split_debug_info).
if(WIN32 AND NOT MSVC AND CMAKE_OBJCOPY)
    install(FILES $<TARGET_FILE:moxh5>.debug DESTINATION ${CMAKE_INSTALL_BINDIR})
elseif(MSVC)
    install(FILES $<TARGET_PDB_FILE:moxh5> DESTINATION ${CMAKE_INSTALL_BINDIR} OPTIONAL)
endif()

configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/moxh5Config.cmake.in
                              ${PROJECT_BINARY_DIR}/moxh5Config.cmake
                              INSTALL_DESTINATION ${MOXH5_INSTALL_CMAKEDIR})
# Hosts built against 3.x keep working with any later 3.x.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/moxh5ConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/moxh5Config.cmake ${PROJECT_BINARY_DIR}/moxh5ConfigVersion.cmake
        DESTINATION ${MOXH5_INSTALL_CMAKEDIR})

# pkg-config: the include folder, the library and the host's libraries (the
# stand-ins, or the flags MOXH5_HOST_LIBS_PKGCONFIG_LIBS names for the host's
# real ones), with jsoncpp as a requirement. The file names its folders
# relative to itself (${pcfiledir}), so the installed tree may move.
set(MOXH5_HOST_LIBS_PKGCONFIG_LIBS "" CACHE STRING
    "Linker flags of the host's real libraries for moxh5.pc (with MOXH5_HOST_LIBS_CMAKE)")
function(moxh5_pkgconfig_dir out dir)
    if(IS_ABSOLUTE ${dir})
        set(${out} ${dir} PARENT_SCOPE)
    else()
        set(${out} "\${prefix}/${dir}" PARENT_SCOPE)
    endif()
endfunction()
set(MOXH5_PC_DIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
if(IS_ABSOLUTE ${MOXH5_PC_DIR})
    set(MOXH5_PC_PREFIX ${CMAKE_INSTALL_PREFIX})
else()
    # One ".." per folder between the prefix and the file.
    string(REGEX REPLACE "[^/]+" ".." up "${MOXH5_PC_DIR}")
    set(MOXH5_PC_PREFIX "\${pcfiledir}/${up}")
endif()
moxh5_pkgconfig_dir(MOXH5_PC_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR})
moxh5_pkgconfig_dir(MOXH5_PC_LIBDIR ${CMAKE_INSTALL_LIBDIR})
if(MOXH5_HOST_LIBS_CMAKE)
    set(MOXH5_PC_HOST_CFLAGS "")
    set(MOXH5_PC_HOST_LIBS "")
    if(MOXH5_HOST_LIBS_PKGCONFIG_LIBS)
        set(MOXH5_PC_HOST_LIBS " ${MOXH5_HOST_LIBS_PKGCONFIG_LIBS}")
    endif()
else()
    set(MOXH5_PC_HOST_CFLAGS " -I\${includedir}/moxhost")
    set(MOXH5_PC_HOST_LIBS " -lmoxhostlibs")
endif()
configure_file(${CMAKE_CURRENT_LIST_DIR}/moxh5.pc.in ${PROJECT_BINARY_DIR}/generated/moxh5.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/generated/moxh5.pc DESTINATION ${MOXH5_PC_DIR})
