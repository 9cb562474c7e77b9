# Cross build for 32-bit Windows with Debian's mingw-w64 (posix threads); programs run under Wine.
set(TAVO_MINGW i686-w64-mingw32)
include("${CMAKE_CURRENT_LIST_DIR}/mingw.toolchain.cmake")
