# Cross build for 64-bit Windows with Debian's mingw-w64 (posix threads); programs run under Wine.
set(TAVO_MINGW x86_64-w64-mingw32)
include("${CMAKE_CURRENT_LIST_DIR}/mingw.toolchain.cmake")
