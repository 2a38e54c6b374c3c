# Installs a finished build into a scratch prefix and uses it as an outside
# project would. Run as a script (cmake -P) by the install_consumers test;
# tests/install/CMakeLists.txt passes the variables below.
#
#   BUILD_DIR      the build folder to install          CONFIG  its configuration
#   WORK_DIR       scratch folder, removed at the end   SOURCE_DIR  tests/install
#   C_COMPILER, CXX_COMPILER, GENERATOR, MAKE_PROGRAM, PKG_CONFIG, READELF
#   BINDIR, LIBDIR, MANDIR, INCLUDEDIR, CMAKEDIR, PKGCONFIGDIR  (relative)
#   VERSION, SOVERSION
#
# Steps: install; check that every file is in place; build the C consumer
# with the flags of qv.pc (shared, then static) and run it; configure and
# build the CMake consumer project (find_package(qv)) and run its programs.

cmake_minimum_required(VERSION 3.25)

set(prefix "${WORK_DIR}/prefix")

# Any failure removes the scratch folder before it ends the test.
macro(fail)
  file(REMOVE_RECURSE "${WORK_DIR}")
  message(FATAL_ERROR ${ARGN})
endmacro()

# Runs a command; on failure shows its output and fails.
function(run what)
  execute_process(COMMAND ${ARGN}
                  RESULT_VARIABLE rc
                  OUTPUT_VARIABLE out
                  ERROR_VARIABLE err)
  if(NOT rc EQUAL 0)
    string(REPLACE ";" " " cmd "${ARGN}")
    fail("${what} failed (${rc})\ncommand: ${cmd}\n${out}\n${err}")
  endif()
  set(run_output "${out}" PARENT_SCOPE)
endfunction()

function(expect_file path)
  if(NOT EXISTS "${prefix}/${path}")
    fail("not installed: ${path}")
  endif()
endfunction()

file(REMOVE_RECURSE "${WORK_DIR}")
file(MAKE_DIRECTORY "${WORK_DIR}")

# ---- Install --------------------------------------------------------------

set(config_args "")
if(CONFIG)
  set(config_args --config "${CONFIG}")
endif()
# (A DESTDIR in the environment would move everything elsewhere.)
run("cmake --install" "${CMAKE_COMMAND}" -E env --unset=DESTDIR
    "${CMAKE_COMMAND}" --install "${BUILD_DIR}" --prefix "${prefix}" ${config_args})

expect_file("${BINDIR}/fyndle")
expect_file("${MANDIR}/man1/fyndle.1.gz")
expect_file("${LIBDIR}/libqv.a")
expect_file("${LIBDIR}/libqv.so")
expect_file("${LIBDIR}/libqv.so.${SOVERSION}")
expect_file("${LIBDIR}/libqv.so.${VERSION}")
foreach(header qvstdlib qvstring qvsystem qvsystim)
  expect_file("${INCLUDEDIR}/${header}.h")
endforeach()
expect_file("${CMAKEDIR}/qvConfig.cmake")
expect_file("${CMAKEDIR}/qvConfigVersion.cmake")
expect_file("${CMAKEDIR}/qvTargets.cmake")
expect_file("${PKGCONFIGDIR}/qv.pc")
if(NOT IS_SYMLINK "${prefix}/${LIBDIR}/libqv.so")
  fail("${LIBDIR}/libqv.so is not the link to the versioned library")
endif()

# The installed tool runs from its new place and prints its banner and usage.
execute_process(COMMAND "${prefix}/${BINDIR}/fyndle"
                RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
string(FIND "${out}" "fyndle version ${VERSION}" at)
if(NOT rc EQUAL 0 OR at EQUAL -1)
  fail("installed fyndle without arguments: exit code ${rc}, no banner\n${out}\n${err}")
endif()

# ---- C through pkg-config ---------------------------------------------------

# PKG_CONFIG_LIBDIR replaces the default search path: only this prefix.
set(pc_env "${CMAKE_COMMAND}" -E env "PKG_CONFIG_LIBDIR=${prefix}/${PKGCONFIGDIR}"
    --unset=PKG_CONFIG_PATH)
run("pkg-config --modversion" ${pc_env} "${PKG_CONFIG}" --modversion qv)
string(STRIP "${run_output}" pc_version)
if(NOT pc_version STREQUAL VERSION)
  fail("qv.pc says version '${pc_version}', the project is ${VERSION}")
endif()
run("pkg-config --cflags" ${pc_env} "${PKG_CONFIG}" --cflags qv)
separate_arguments(pc_cflags UNIX_COMMAND "${run_output}")
run("pkg-config --libs" ${pc_env} "${PKG_CONFIG}" --libs qv)
separate_arguments(pc_libs UNIX_COMMAND "${run_output}")
run("pkg-config --static --libs" ${pc_env} "${PKG_CONFIG}" --static --libs qv)
separate_arguments(pc_static_libs UNIX_COMMAND "${run_output}")
# Static linking: the same flags with the archive named instead of -lqv.
list(TRANSFORM pc_static_libs REPLACE "^-lqv$" "-l:libqv.a")

set(c_flags -std=c11 -Wall -Wextra -pedantic -Werror)
run("C consumer (shared), compile and link"
    "${C_COMPILER}" ${c_flags} ${pc_cflags} "${SOURCE_DIR}/c/consumer.c"
    -o "${WORK_DIR}/c_consumer_shared" ${pc_libs})
run("C consumer (static), compile and link"
    "${C_COMPILER}" ${c_flags} ${pc_cflags} "${SOURCE_DIR}/c/consumer.c"
    -o "${WORK_DIR}/c_consumer_static" ${pc_static_libs})

# The shared build must really use the installed libqv.so.<major>.
run("readelf" "${READELF}" -d "${WORK_DIR}/c_consumer_shared")
if(NOT run_output MATCHES "NEEDED[^\n]*\\[libqv\\.so\\.${SOVERSION}\\]")
  fail("c_consumer_shared does not need libqv.so.${SOVERSION}:\n${run_output}")
endif()
run("C consumer (shared)" "${CMAKE_COMMAND}" -E env "LD_LIBRARY_PATH=${prefix}/${LIBDIR}"
    "${WORK_DIR}/c_consumer_shared")
run("C consumer (static)" "${WORK_DIR}/c_consumer_static")

# ---- C++ through find_package ------------------------------------------------

set(make_args "")
if(MAKE_PROGRAM)
  set(make_args "-DCMAKE_MAKE_PROGRAM=${MAKE_PROGRAM}")
endif()
run("consumer project, configure"
    "${CMAKE_COMMAND}" -S "${SOURCE_DIR}/cxx" -B "${WORK_DIR}/cxx-build"
    -G "${GENERATOR}" ${make_args}
    -DCMAKE_BUILD_TYPE=Release
    "-DCMAKE_C_COMPILER=${C_COMPILER}"
    "-DCMAKE_CXX_COMPILER=${CXX_COMPILER}"
    "-DCMAKE_PREFIX_PATH=${prefix}"
    "-DQV_EXPECTED_PREFIX=${prefix}"
    "-DQV_EXPECTED_VERSION=${VERSION}")
run("consumer project, build"
    "${CMAKE_COMMAND}" --build "${WORK_DIR}/cxx-build" --config Release --parallel 1)
# CMake gives the programs a build RPATH to the prefix's library folder.
foreach(program consumer_static consumer_shared consumer_c_static)
  set(exe "${WORK_DIR}/cxx-build/${program}")
  if(NOT EXISTS "${exe}")
    set(exe "${WORK_DIR}/cxx-build/Release/${program}")   # multi-config generators
  endif()
  run("${program}" "${exe}")
endforeach()

file(REMOVE_RECURSE "${WORK_DIR}")
message(STATUS "install checks passed")
