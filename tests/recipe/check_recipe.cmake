# Copies the tree SOURCE below SCRATCH, applies the patch of the folder RECIPE, builds the tool of the
# copy and takes the folder's survey through check, dump, import, verify, build and format.
function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE text ERROR_VARIABLE text
                  WORKING_DIRECTORY "${SCRATCH}")
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "failed (${result}): ${ARGN}\n${text}")
  endif()
  set(text "${text}" PARENT_SCOPE)
endfunction()

function(expect_in text)
  foreach(wanted IN LISTS ARGN)
    string(FIND "${text}" "${wanted}" at)
    if(at EQUAL -1)
      message(FATAL_ERROR "missing:\n${wanted}\nin:\n${text}")
    endif()
  endforeach()
endfunction()

function(expect_file name wanted)
  file(READ "${SCRATCH}/${name}" text)
  if(NOT text STREQUAL wanted)
    message(FATAL_ERROR "${name} is\n${text}\ninstead of\n${wanted}")
  endif()
endfunction()

# Files that are the same keep their time, the patched ones are newer than what was built of them.
set(tree "${SCRATCH}/tree")
file(REMOVE_RECURSE "${tree}")
foreach(part CMakeLists.txt LICENSE cmake include packaging plugins site src third_party tools)
  file(COPY "${SOURCE}/${part}" DESTINATION "${tree}")
endforeach()
run("${PATCH}" --batch --forward --quiet --strip 1 --directory "${tree}" --input
    "${RECIPE}/add_block.patch")

run(${CMAKE_COMMAND} -S "${tree}" -B "${SCRATCH}/build" -G "${GENERATOR}"
    "-DCMAKE_C_COMPILER=${CC}" "-DCMAKE_CXX_COMPILER=${CXX}"
    "-DCMAKE_CXX_COMPILER_LAUNCHER=${LAUNCHER}" -DCMAKE_BUILD_TYPE=None -DTAVO_BUILD_TESTS=OFF
    -DTAVO_BUILD_BENCH=OFF -DTAVO_BUILD_FUZZ=OFF -DTAVO_BUILD_GDAL=OFF -DTAVO_BUILD_PYTHON=OFF
    -DCMAKE_UNITY_BUILD=ON)
run(${CMAKE_COMMAND} --build "${SCRATCH}/build" --target tavo_cli)
set(tavo "${SCRATCH}/build/bin/tavo")

# The survey stands in the layout that the writers give it, so every way leads back to it.
foreach(name benchmarks.tvo mistakes.tvo)
  file(COPY "${RECIPE}/${name}" DESTINATION "${SCRATCH}")
endforeach()
file(READ "${RECIPE}/benchmarks.tvo" survey)
run("${tavo}" check benchmarks.tvo)
run("${tavo}" import benchmarks.tvo -o benchmarks.dat)
run("${tavo}" verify benchmarks.dat)
expect_in("${text}" "1 of type 108  BENCHMARKS columns" "2 of type 109  BENCHMARKS")
foreach(file benchmarks.tvo benchmarks.dat)
  run("${tavo}" dump --units si ${file})
  expect_in(
    "${text}"
    [=["block":"DATABASE/BENCHMARKS","columns":["PointNo","PointID","Elevation","Date"]]=]
    [=["fields":{"PointNo":7,"PointID":"BM 7","Elevation":458.2491216,"Date":"2003-02-01T04:05:06.70"]=]
    [=["fields":{"PointNo":12,"PointID":"BM \"12\"","Elevation":30.3276]=])
endforeach()
run("${tavo}" build benchmarks.dat -o built.tvo)
expect_file(built.tvo "${survey}")
run("${tavo}" format benchmarks.tvo -o formatted.tvo)
expect_file(formatted.tvo "${survey}")

execute_process(COMMAND "${tavo}" check mistakes.tvo RESULT_VARIABLE result OUTPUT_VARIABLE text
                WORKING_DIRECTORY "${SCRATCH}")
expect_in("${text}" ": warning W7012: unknown format keyword: 'Rank'"
          ": error E2500: syntax error: 'x'"
          ": error E2012: missing section end: 'BENCHMARKS'")
if(NOT result EQUAL 1)
  message(FATAL_ERROR "check of mistakes.tvo ends with ${result}")
endif()
message(STATUS "a block was added by the recipe")
