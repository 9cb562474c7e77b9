# What the cross builds for Windows share. TAVO_MINGW is the prefix of their tools.
set(CMAKE_SYSTEM_NAME Windows)
string(REGEX MATCH "^[^-]+" CMAKE_SYSTEM_PROCESSOR "${TAVO_MINGW}")
set(CMAKE_C_COMPILER ${TAVO_MINGW}-gcc-posix)
set(CMAKE_CXX_COMPILER ${TAVO_MINGW}-g++-posix)
set(CMAKE_RC_COMPILER ${TAVO_MINGW}-windres)
list(APPEND CMAKE_FIND_ROOT_PATH /usr/${TAVO_MINGW})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
# A Wine prefix of the build tree's own: nothing is read from or left in the user's.
if(TAVO_MINGW MATCHES "^x86_64")
  set(run run-win64)
else()
  set(run run-win32)
endif()
set(CMAKE_CROSSCOMPILING_EMULATOR
    "env;WINEPREFIX=${CMAKE_BINARY_DIR}/wine;${CMAKE_CURRENT_LIST_DIR}/../scripts/${run}")
