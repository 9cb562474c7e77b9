# How our own code is compiled: the language, warnings as errors, sanitizers and the code model that
# gives 32-bit Windows the same results as x86-64. `tavo_compile` is linked privately by every target.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 99)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

add_library(tavo_compile INTERFACE)
if(MSVC)
  target_compile_options(tavo_compile INTERFACE /W4 /permissive- /utf-8 /fp:precise
                                                $<$<BOOL:${TAVO_WERROR}>:/WX>)
else()
  # A contracted multiply-add rounds once where the other platform rounds twice.
  target_compile_options(
    tavo_compile INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow -ffp-contract=off
                           $<$<BOOL:${TAVO_WERROR}>:-Werror>)
  if(CMAKE_UNITY_BUILD AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # What is in an unnamed namespace of a joined file is in no header.
    target_compile_options(tavo_compile INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-Wno-subobject-linkage>)
  endif()
endif()

if(TAVO_SANITIZE)
  set(sanitize -fsanitize=${TAVO_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_compile_options(tavo_compile INTERFACE ${sanitize})
  target_link_options(tavo_compile INTERFACE ${sanitize})
endif()

# Of the programs around the library, where their big headers decide how long they take to build: the
# work is done in the library, which is optimised as ever.
set(tavo_tool_options -O1)
if(TAVO_SANITIZE)
  set(tavo_tool_options -O0)
endif()

if(TAVO_FUZZING)
  target_compile_options(tavo_compile INTERFACE -fsanitize=fuzzer-no-link)
endif()

if(WIN32)
  target_compile_definitions(tavo_compile INTERFACE WIN32_LEAN_AND_MEAN NOMINMAX)
endif()
if(MINGW)
  if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    # Real numbers in SSE registers round as on x86-64. Hosts keep the stack aligned to 4 bytes only,
    # so every function that needs more aligns its own frame.
    target_compile_options(tavo_compile INTERFACE -msse2 -mfpmath=sse -mstackrealign)
  endif()
  # The C library of the compiler prints as on Linux, the system's own does not.
  target_compile_definitions(tavo_compile INTERFACE __USE_MINGW_ANSI_STDIO=1)
  # No run-time DLL of the compiler is needed beside ours.
  target_link_options(tavo_compile INTERFACE -static)
endif()

# Gives a program or DLL of Windows its version and name, as the system shows them.
function(tavo_version_resource target description)
  if(WIN32)
    set(resource "${CMAKE_CURRENT_BINARY_DIR}/${target}.rc")
    string(REPLACE "." "," version "${PROJECT_VERSION}.0")
    configure_file("${PROJECT_SOURCE_DIR}/cmake/version.rc.in" "${resource}" @ONLY)
    enable_language(RC)
    target_sources(${target} PRIVATE "${resource}")
  endif()
endfunction()

# Sets `var` to the sources of a folder; an empty or absent folder gives an empty list.
function(tavo_glob var)
  set(found)
  foreach(pattern IN LISTS ARGN)
    file(GLOB matches CONFIGURE_DEPENDS "${pattern}")
    list(APPEND found ${matches})
  endforeach()
  set(${var} ${found} PARENT_SCOPE)
endfunction()

# Header-only packages live in the host's include folder, which a cross compiler must not search:
# `tavo_third_party` is a folder with links to just those packages.
function(tavo_header_only_packages target)
  set(root "${CMAKE_BINARY_DIR}/third_party/include")
  file(MAKE_DIRECTORY "${root}")
  foreach(package IN LISTS ARGN)
    find_path(TAVO_${package}_PARENT NAMES "${package}" PATHS /usr/include /usr/local/include
              NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH REQUIRED)
    file(CREATE_LINK "${TAVO_${package}_PARENT}/${package}" "${root}/${package}" SYMBOLIC)
  endforeach()
  target_include_directories(${target} SYSTEM PRIVATE "${root}")
endfunction()
