# Compares the names that a shared library exports with the public functions, and on Windows the
# DLLs that it needs with those of every system. Call: cmake -D TOOL= -D LIBRARY= -D WINDOWS= -P; with
# -D HEADER= the public functions are those that the header declares.
set(expected
    GetITavo
    TVO_Analyse
    TVO_Build
    TVO_CloseDataFile
    TVO_Delete
    TVO_Find
    TVO_GetDecimals
    TVO_OpenDataFile
    TVO_Read
    TVO_SetColumns
    TVO_SetDataFile
    TVO_SetDecimals
    TVO_Update
    TVO_Write)
if(HEADER)
  file(READ "${HEADER}" text)
  string(REPLACE ";" " " text "${text}")
  string(REGEX MATCHALL "TAVO_API[^(]*tavo_[a-z0-9_]+[(]" expected "${text}")
  list(TRANSFORM expected REPLACE ".*(tavo_[a-z0-9_]+)[(]" "\\1")
  list(SORT expected)
endif()

if(WINDOWS)
  set(arguments -p)
else()
  set(arguments -D --defined-only)
endif()
execute_process(COMMAND "${TOOL}" ${arguments} "${LIBRARY}" OUTPUT_VARIABLE listing
                        COMMAND_ERROR_IS_FATAL ANY)

if(WINDOWS)
  string(REGEX MATCHALL "DLL Name: [^\n]+" needed "${listing}")
  foreach(line IN LISTS needed)
    if(NOT line MATCHES "DLL Name: (KERNEL32|msvcrt)\\.dll")
      message(FATAL_ERROR "the library needs another DLL: ${line}")
    endif()
  endforeach()
  string(REGEX REPLACE ".*\\[Ordinal/Name Pointer\\] Table[^\n]*\n" "" listing "${listing}")
  string(REGEX REPLACE "\n[ \t]*\n.*" "" listing "${listing}")
  string(REGEX REPLACE "[ \t]*\\[ *[0-9]+\\] *(\\+base\\[ *[0-9]+\\] *[0-9a-f]* *)?" "" listing
                       "${listing}")
else()
  string(REGEX REPLACE "[0-9a-f]+ [A-Za-z] " "" listing "${listing}")
  # A node of versions stands behind each name, and once by itself.
  string(REGEX REPLACE "(^|\n)[A-Z0-9_]+(\n|$)" "\\1" listing "${listing}")
  string(REGEX REPLACE "@+[A-Z0-9_]+" "" listing "${listing}")
endif()
string(STRIP "${listing}" listing)
string(REPLACE "\n" ";" found "${listing}")
list(SORT found)

if(NOT found STREQUAL expected)
  message(FATAL_ERROR "exported:\n  ${found}\nexpected:\n  ${expected}")
endif()
list(LENGTH found count)
message(STATUS "${count} functions exported, as expected")
