# Python with NumPy and headers, and pybind11, for the Python package. The first python3 of the path
# need not be one that has them, so each is asked. TAVO_PYTHON_FOUND says whether all is there.
function(tavo_python_serves result candidate)
  execute_process(
    COMMAND
      "${candidate}" -c
      "import numpy, os, sysconfig; open(os.path.join(sysconfig.get_path('include'), 'Python.h'))"
    RESULT_VARIABLE failed OUTPUT_QUIET ERROR_QUIET)
  if(failed)
    set(${result} FALSE PARENT_SCOPE)
  endif()
endfunction()

set(TAVO_PYTHON_FOUND FALSE)
if(NOT CMAKE_CROSSCOMPILING AND NOT TAVO_FUZZING AND NOT TAVO_SANITIZE STREQUAL "thread")
  if(NOT Python_EXECUTABLE)
    find_program(TAVO_PYTHON_PROGRAM NAMES python3 VALIDATOR tavo_python_serves)
    if(TAVO_PYTHON_PROGRAM)
      set(Python_EXECUTABLE "${TAVO_PYTHON_PROGRAM}")
    endif()
  endif()
  if(Python_EXECUTABLE)
    find_package(Python 3.9 QUIET COMPONENTS Interpreter Development.Module NumPy)
    set(PYBIND11_FINDPYTHON ON)
    find_package(pybind11 2.10 QUIET CONFIG)
  endif()
  if(Python_FOUND AND pybind11_FOUND)
    set(TAVO_PYTHON_FOUND TRUE)
  else()
    message(STATUS "Python with NumPy and headers, or pybind11, was not found: no Python package")
  endif()
endif()
option(TAVO_BUILD_PYTHON "Build the Python package" ${TAVO_PYTHON_FOUND})
if(TAVO_BUILD_PYTHON AND NOT TAVO_PYTHON_FOUND)
  message(FATAL_ERROR "TAVO_BUILD_PYTHON needs Python with NumPy and headers, and pybind11")
endif()
