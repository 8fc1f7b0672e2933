# The common part of the two mingw toolchain files, which set KV_MINGW.
set(CMAKE_SYSTEM_NAME Windows)
string(REGEX REPLACE "-.*" "" CMAKE_SYSTEM_PROCESSOR ${KV_MINGW})
# std::thread and std::mutex need the variant with POSIX threads.
set(CMAKE_C_COMPILER ${KV_MINGW}-gcc-posix)
set(CMAKE_CXX_COMPILER ${KV_MINGW}-g++-posix)
set(CMAKE_RC_COMPILER ${KV_MINGW}-windres)

set(CMAKE_FIND_ROOT_PATH /usr/${KV_MINGW})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(CMAKE_CROSSCOMPILING_EMULATOR
    ${CMAKE_CURRENT_LIST_DIR}/../tools/windows_wine.sh ${CMAKE_SYSTEM_PROCESSOR}
    ${CMAKE_BINARY_DIR}/wineprefix)
