# Install folders of the project, relative to the install prefix. Included
# early (by src/lib) so that the library's targets and the install checks
# under tests/install see the same values as the install rules.
include(GNUInstallDirs)

set(QV_INSTALL_CMAKEDIR ${CMAKE_INSTALL_LIBDIR}/cmake/qv
    CACHE STRING "Where the CMake package files of the qv library go (relative to the prefix)")
set(QV_INSTALL_PKGCONFIGDIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig
    CACHE STRING "Where qv.pc goes (relative to the prefix)")
set(QV_INSTALL_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR}/qv
    CACHE STRING "Where the four headers of the qv library go (relative to the prefix)")
mark_as_advanced(QV_INSTALL_CMAKEDIR QV_INSTALL_PKGCONFIGDIR QV_INSTALL_INCLUDEDIR)
