# Debian package of fyndle, made by CPack from the install rules:
#   cpack -G DEB            (in a build folder)
#   cmake --build <build> --target package
# gives fyndle_<version>-<release>_<arch>.deb in the build folder, with the
# tool, its manual page and the qv library (static, shared, headers, CMake
# and pkg-config files), all under /usr.

set(FYNDLE_PACKAGE_MAINTAINER "fyndle developers <fyndle@localhost>"
    CACHE STRING "Maintainer field of the Debian package (Name <address>)")
set(FYNDLE_PACKAGE_RELEASE "1"
    CACHE STRING "Debian revision of the package (the part after the '-')")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME fyndle)
set(CPACK_PACKAGE_VENDOR "fyndle developers")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY
    "search the files of a folder tree for a text pattern")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR})

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE ${FYNDLE_PACKAGE_RELEASE})
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${FYNDLE_PACKAGE_MAINTAINER}")
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
# Extended description; CPack puts the summary above it.
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"fyndle searches the files of one folder, and optionally of all its
subfolders, for plain text or for a pattern in a small regular-expression
language. It prints each matching line with the file's path and the line
number, or in binary mode every match with its byte offset; it can also list
only the names of the files that match, or count the lines of the files.
Files are chosen by wildcard masks such as *.txt.
.
The package also holds the qv support library that fyndle is built on
(static and shared, with its C headers, a CMake package and a pkg-config
module): memory blocks for matrices and tables, string utilities, UTF-8 and
wide text conversion, number formatting, time and calendar arithmetic, and
file and process services.")

# Dependencies: computed from the binaries by dpkg-shlibdeps (dpkg-dev) when
# it is there; without it, the libraries every C++ program here needs.
find_program(FYNDLE_DPKG_SHLIBDEPS dpkg-shlibdeps)
find_program(FYNDLE_FILE_UTILITY file)
if(FYNDLE_DPKG_SHLIBDEPS AND FYNDLE_FILE_UTILITY)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
else()
  set(CPACK_DEBIAN_PACKAGE_DEPENDS "libc6, libstdc++6, libgcc-s1")
endif()
# The package ships libqv.so.<major>: record it in the shlibs file so that
# packages built against it depend on this one. (This and the dependency
# computation both need readelf, from binutils.)
find_program(FYNDLE_READELF readelf)
if(FYNDLE_READELF AND FYNDLE_FILE_UTILITY)
  set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
  set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
endif()
mark_as_advanced(FYNDLE_DPKG_SHLIBDEPS FYNDLE_FILE_UTILITY FYNDLE_READELF)

include(CPack)
