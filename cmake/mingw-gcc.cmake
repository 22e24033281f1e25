# Toolchain: GCC for 64-bit Windows (MinGW-w64 with POSIX threads).
include("${CMAKE_CURRENT_LIST_DIR}/mingw.cmake")
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
