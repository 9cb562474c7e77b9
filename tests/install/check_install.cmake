# Installs the build tree BUILD below SCRATCH, moves the copy, and builds and runs CONSUMER against
# it through the CMake package and through pkg-config.
function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE text ERROR_VARIABLE text)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "failed (${result}): ${ARGN}\n${text}")
  endif()
endfunction()

function(run_consumer program)
  # The copy's place is in no search path: a host brings the library with it or names its folder.
  file(COPY "${program}" DESTINATION "${prefix}/bin")
  cmake_path(GET program FILENAME name)
  run(${CMAKE_COMMAND} -E env "LD_LIBRARY_PATH=${prefix}/${LIBDIR}" ${EMULATOR}
      "${prefix}/bin/${name}")
endfunction()

file(REMOVE_RECURSE "${SCRATCH}")
run(${CMAKE_COMMAND} --install "${BUILD}" --prefix "${SCRATCH}/first")
set(prefix "${SCRATCH}/moved")
file(RENAME "${SCRATCH}/first" "${prefix}")

set(toolchain)
if(TOOLCHAIN)
  set(toolchain "-DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN}" "-DCMAKE_FIND_ROOT_PATH=${prefix}")
endif()
run(${CMAKE_COMMAND} -S "${CONSUMER}" -B "${SCRATCH}/consumer" -G "${GENERATOR}" ${toolchain}
    "-DCMAKE_PREFIX_PATH=${prefix}")
run(${CMAKE_COMMAND} --build "${SCRATCH}/consumer")
run_consumer("${SCRATCH}/consumer/consumer${SUFFIX}")

set(ENV{PKG_CONFIG_PATH} "${prefix}/${LIBDIR}/pkgconfig")
execute_process(COMMAND "${PKG_CONFIG}" --cflags --libs tavo OUTPUT_VARIABLE flags
                        OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
separate_arguments(flags UNIX_COMMAND "${flags}")
run("${CC}" "${CONSUMER}/consumer.c" ${flags} -o "${SCRATCH}/by_pkg_config${SUFFIX}")
run_consumer("${SCRATCH}/by_pkg_config${SUFFIX}")
message(STATUS "the installed library was found and used both ways")
