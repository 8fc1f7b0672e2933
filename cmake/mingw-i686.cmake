# Builds 32-bit Windows programs with Debian's mingw-w64 and runs them, tests included, with Wine.
set(KV_MINGW i686-w64-mingw32)
include(${CMAKE_CURRENT_LIST_DIR}/mingw.cmake)
