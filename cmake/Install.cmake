# Install rules and packaging.
#
# cmake --install <build> [--prefix <dir>] puts in place:
#   bin/fyndle                          the search tool
#   share/man/man1/fyndle.1.gz          its manual page
#   lib/libqv.a, lib/libqv.so*          the support library, static and shared
#   include/qv/qv*.h                    its four headers
#   lib/cmake/qv/                       CMake package "qv": targets qv::qv
#                                       (static) and qv::qv_shared (shared)
#   lib/pkgconfig/qv.pc                 pkg-config module "qv" (shared library;
#                                       --static adds what libqv.a needs)
# ("lib" is the platform's library folder, e.g. lib/x86_64-linux-gnu under
# /usr on Debian.)
#
# Components: "runtime" (the tool, its manual page, the shared library) and
# "development" (static library, headers, CMake and pkg-config files).
#
# cpack -G DEB (or the "package" target) builds one Debian package, fyndle,
# with both components, installed under /usr.

include(${CMAKE_CURRENT_LIST_DIR}/InstallDirs.cmake)
include(CMakePackageConfigHelpers)

# ---- The tool and its manual page ---------------------------------------

install(TARGETS fyndle
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)

# Manual pages are installed compressed, as the system's man pages are.
find_program(FYNDLE_GZIP gzip)
set(FYNDLE_MAN_SOURCE ${PROJECT_SOURCE_DIR}/docs/fyndle.1)
if(FYNDLE_GZIP)
  set(FYNDLE_MAN_PAGE ${PROJECT_BINARY_DIR}/docs/fyndle.1.gz)
  add_custom_command(
      OUTPUT ${FYNDLE_MAN_PAGE}
      COMMAND ${CMAKE_COMMAND} -E make_directory ${PROJECT_BINARY_DIR}/docs
      # -n: no name or time stamp inside, so that builds are reproducible.
      COMMAND ${FYNDLE_GZIP} -9 -n -c ${FYNDLE_MAN_SOURCE} > ${FYNDLE_MAN_PAGE}
      DEPENDS ${FYNDLE_MAN_SOURCE}
      COMMENT "Compressing the manual page fyndle.1"
      VERBATIM)
  add_custom_target(fyndle_man ALL DEPENDS ${FYNDLE_MAN_PAGE})
else()
  set(FYNDLE_MAN_PAGE ${FYNDLE_MAN_SOURCE})
endif()
install(FILES ${FYNDLE_MAN_PAGE}
        DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT runtime)

# ---- The support library --------------------------------------------------

install(TARGETS qv qv_shared
        EXPORT qvTargets
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime
                NAMELINK_COMPONENT development
        PUBLIC_HEADER DESTINATION ${QV_INSTALL_INCLUDEDIR} COMPONENT development)

# CMake package: find_package(qv CONFIG) gives qv::qv and qv::qv_shared.
install(EXPORT qvTargets
        NAMESPACE qv::
        DESTINATION ${QV_INSTALL_CMAKEDIR}
        COMPONENT development)
configure_package_config_file(
    ${CMAKE_CURRENT_LIST_DIR}/qvConfig.cmake.in
    ${PROJECT_BINARY_DIR}/cmake/qvConfig.cmake
    INSTALL_DESTINATION ${QV_INSTALL_CMAKEDIR}
    NO_SET_AND_CHECK_MACRO
    NO_CHECK_REQUIRED_COMPONENTS_MACRO)
write_basic_package_version_file(
    ${PROJECT_BINARY_DIR}/cmake/qvConfigVersion.cmake
    VERSION ${PROJECT_VERSION}
    COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/cmake/qvConfig.cmake
              ${PROJECT_BINARY_DIR}/cmake/qvConfigVersion.cmake
        DESTINATION ${QV_INSTALL_CMAKEDIR}
        COMPONENT development)

# pkg-config module. Its paths are relative to the folder it is installed
# in (${pcfiledir}), so the same file is right for any --prefix or DESTDIR;
# absolute install folders are written as they are.
function(qv_pc_path var dir)
  if(IS_ABSOLUTE "${dir}")
    set(${var} "${dir}" PARENT_SCOPE)
  else()
    set(${var} "\${prefix}/${dir}" PARENT_SCOPE)
  endif()
endfunction()
if(IS_ABSOLUTE "${QV_INSTALL_PKGCONFIGDIR}")
  set(QV_PC_PREFIX "${CMAKE_INSTALL_PREFIX}")
else()
  # One ".." per component of the pkg-config folder.
  string(REGEX REPLACE "/+$" "" _qv_pcdir "${QV_INSTALL_PKGCONFIGDIR}")
  string(REGEX REPLACE "[^/]+" ".." _qv_up "${_qv_pcdir}")
  set(QV_PC_PREFIX "\${pcfiledir}/${_qv_up}")
endif()
qv_pc_path(QV_PC_LIBDIR "${CMAKE_INSTALL_LIBDIR}")
qv_pc_path(QV_PC_INCLUDEDIR "${QV_INSTALL_INCLUDEDIR}")
set(QV_PC_LIBS_PRIVATE "")
foreach(lib ${CMAKE_DL_LIBS} m stdc++)
  string(APPEND QV_PC_LIBS_PRIVATE " -l${lib}")
endforeach()
string(STRIP "${QV_PC_LIBS_PRIVATE}" QV_PC_LIBS_PRIVATE)
configure_file(${CMAKE_CURRENT_LIST_DIR}/qv.pc.in ${PROJECT_BINARY_DIR}/cmake/qv.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/cmake/qv.pc
        DESTINATION ${QV_INSTALL_PKGCONFIGDIR}
        COMPONENT development)

# ---- Debian package -------------------------------------------------------

include(${CMAKE_CURRENT_LIST_DIR}/Packaging.cmake)
