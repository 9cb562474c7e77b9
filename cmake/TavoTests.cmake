# GoogleTest for all platforms, and the function that makes one test program of a folder.
if(CMAKE_CROSSCOMPILING)
  # Debian ships GoogleTest for the machine itself; its sources are built once into the build tree.
  set(BUILD_GMOCK OFF CACHE BOOL "" FORCE)
  set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
  add_subdirectory(/usr/src/googletest "${CMAKE_BINARY_DIR}/googletest" EXCLUDE_FROM_ALL SYSTEM)
  target_compile_options(gtest PRIVATE -O0)
  if(WIN32)
    target_compile_options(gtest PRIVATE -include "${CMAKE_CURRENT_LIST_DIR}/gtest_debugger.h")
  endif()
  set(tavo_gtest gtest gtest_main)
else()
  find_package(GTest REQUIRED)
  set(tavo_gtest GTest::gtest GTest::gtest_main)
endif()
include(GoogleTest)

# Paths as the running test program sees them: Wine shows the file system as drive Z.
if(WIN32)
  set(tavo_root_prefix "Z:")
else()
  set(tavo_root_prefix "")
endif()

# Test code is compiled for a quick build; the library that it tests is optimised as ever. The effort
# is how much of a randomised test a lane does, in percent: those of other machines may run under an
# emulator, ten and more times slower.
if(CMAKE_CROSSCOMPILING)
  set(tavo_test_effort 5)
  set(tavo_test_options -O1)
elseif(TAVO_SANITIZE)
  set(tavo_test_effort 30)
  set(tavo_test_options -O0)
else()
  set(tavo_test_effort 100)
  set(tavo_test_options -O0 -g1)
endif()

# Registers a program as CTest test(s) that run in a folder of their own, one at a time per folder.
function(tavo_register_gtest target name)
  set(scratch "${CMAKE_BINARY_DIR}/scratch/${name}")
  file(MAKE_DIRECTORY "${scratch}")
  if(TAVO_LANE STREQUAL "linux")
    gtest_discover_tests(
      ${target} TEST_PREFIX "${TAVO_LANE}.${name}." TEST_FILTER "-*.DISABLED_*"
      WORKING_DIRECTORY "${scratch}"
      PROPERTIES RESOURCE_LOCK "${TAVO_LANE}.${name}" TIMEOUT 120)
  else()
    add_test(NAME "${TAVO_LANE}.${name}" COMMAND ${target} WORKING_DIRECTORY "${scratch}")
    set_tests_properties("${TAVO_LANE}.${name}" PROPERTIES TIMEOUT 1800)
    # By far the longest is begun first, so that others run beside it.
    if(name STREQUAL "tools")
      set_tests_properties("${TAVO_LANE}.${name}" PROPERTIES COST 1000)
    endif()
    # The default data file is one place per Wine prefix.
    if(name MATCHES "^(store|api|tools|writers)$")
      set_tests_properties("${TAVO_LANE}.${name}" PROPERTIES RESOURCE_LOCK
                                                             "${TAVO_LANE}.default_data_file")
    endif()
  endif()
endfunction()

# What all test programs share: options, the helpers in support/ and the precompiled GoogleTest.
function(tavo_add_test_support)
  list(JOIN CMAKE_CROSSCOMPILING_EMULATOR " " emulator)
  tavo_glob(sources "${CMAKE_CURRENT_SOURCE_DIR}/support/*.cpp")
  add_library(tavo_test_support STATIC ${sources})
  target_compile_options(tavo_test_support PUBLIC ${tavo_test_options})
  target_compile_definitions(
    tavo_test_support
    PUBLIC TAVO_EXAMPLES_DIR="${tavo_root_prefix}${PROJECT_SOURCE_DIR}/examples"
           TAVO_CASES_DIR="${tavo_root_prefix}${PROJECT_SOURCE_DIR}/tests/cases"
           TAVO_VERSION="${PROJECT_VERSION}" TAVO_TEST_EFFORT=${tavo_test_effort}
           TAVO_TEST_EMULATOR="${emulator}")
  target_include_directories(tavo_test_support PUBLIC "${PROJECT_SOURCE_DIR}"
                                                      "${PROJECT_SOURCE_DIR}/tests")
  target_link_libraries(tavo_test_support PUBLIC tavo_core tavo_compile ${tavo_gtest})
  target_precompile_headers(tavo_test_support PRIVATE <gtest/gtest.h> <string> <string_view>
                            <vector>)
endfunction()

function(tavo_add_test_folder folder)
  tavo_glob(sources "${CMAKE_CURRENT_SOURCE_DIR}/${folder}/*.cpp")
  if(NOT sources)
    return()
  endif()
  string(REPLACE "/" "_" name "${folder}")
  set(target ${name}_test)
  add_executable(${target} ${sources})
  target_link_libraries(${target} PRIVATE tavo_test_support)
  target_precompile_headers(${target} REUSE_FROM tavo_test_support)
  if(folder STREQUAL "tools")
    add_dependencies(${target} tavo_cli)
    target_compile_definitions(
      ${target} PRIVATE TAVO_TOOL="${tavo_root_prefix}$<TARGET_FILE:tavo_cli>")
    tavo_header_only_packages(${target} nlohmann)
  endif()
  tavo_register_gtest(${target} ${name})
endfunction()
