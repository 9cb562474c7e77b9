# Installs the build tree BUILD below SCRATCH, moves the copy, and builds and runs the hosts of
# CONSUMER against it through the CMake package and through pkg-config, and with the tree as a part.
function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE text ERROR_VARIABLE text)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "failed (${result}): ${ARGN}\n${text}")
  endif()
endfunction()

function(run_host program)
  # The copy's place is in no search path: a host brings the library with it or names its folder.
  file(COPY "${program}" DESTINATION "${prefix}/bin")
  cmake_path(GET program FILENAME name)
  run(${CMAKE_COMMAND} -E env "LD_LIBRARY_PATH=${prefix}/${LIBDIR}" ${EMULATOR}
      "${prefix}/bin/${name}")
endfunction()

set(toolchain)
if(TOOLCHAIN)
  set(toolchain "-DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN}")
endif()
function(build_project folder)
  run(${CMAKE_COMMAND} -S "${CONSUMER}" -B "${folder}" -G "${GENERATOR}" ${toolchain}
      "-DCMAKE_C_COMPILER_LAUNCHER=${LAUNCHER}" "-DCMAKE_CXX_COMPILER_LAUNCHER=${LAUNCHER}" ${ARGN})
  run(${CMAKE_COMMAND} --build "${folder}")
endfunction()

file(REMOVE_RECURSE "${SCRATCH}")
run(${CMAKE_COMMAND} --install "${BUILD}" --prefix "${SCRATCH}/first")
set(prefix "${SCRATCH}/moved")
file(RENAME "${SCRATCH}/first" "${prefix}")

build_project("${SCRATCH}/package" "-DCMAKE_PREFIX_PATH=${prefix}"
              "-DCMAKE_FIND_ROOT_PATH=${prefix}")
foreach(host IN ITEMS consumer consumer_static survey_consumer survey_consumer_static)
  run_host("${SCRATCH}/package/${host}${SUFFIX}")
endforeach()

set(ENV{PKG_CONFIG_PATH} "${prefix}/${LIBDIR}/pkgconfig")
function(build_by_pkg_config package program)
  execute_process(COMMAND "${PKG_CONFIG}" --cflags --libs ${package} OUTPUT_VARIABLE flags
                          OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  separate_arguments(flags UNIX_COMMAND "${flags}")
  run(${ARGN} ${flags} -o "${program}")
  run_host("${program}")
endfunction()
build_by_pkg_config(tavo "${SCRATCH}/by_pkg_config${SUFFIX}" "${CC}" "${CONSUMER}/consumer.c")
# A program in C++ brings its run time with it on Windows, and then the library, too.
set(static)
if(TOOLCHAIN)
  set(static -static -DTAVO_SURVEY_STATIC)
endif()
build_by_pkg_config(tavosurvey "${SCRATCH}/survey_by_pkg_config${SUFFIX}" "${CXX}" -std=c++20
                    ${static} "${CONSUMER}/survey_consumer.cpp")

# As a part of a project no package of ours is asked for; one platform shows it.
if(NOT TOOLCHAIN)
  build_project("${SCRATCH}/part" "-DTAVO_SOURCE=${SOURCE}")
  run("${SCRATCH}/part/consumer_static")
  run("${SCRATCH}/part/survey_consumer")
endif()
message(STATUS "the libraries were found and used in every way")
