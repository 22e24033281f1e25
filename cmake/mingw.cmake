# The common part of the toolchains for MinGW-w64: 64-bit Windows, run under Wine.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)
set(CMAKE_OBJCOPY x86_64-w64-mingw32-objcopy)
set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
# Packages: those of the sysroot, and header-only ones of the host such as doctest.
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE BOTH)
# Links the compiler's runtime library into the binaries, so that they need no DLL for it.
foreach(kind IN ITEMS EXE SHARED MODULE)
  set(CMAKE_${kind}_LINKER_FLAGS_INIT "-static")
endforeach()
