# Toolchain: clang and lld for 64-bit Windows, on MinGW-w64's headers and GCC's standard library.
include("${CMAKE_CURRENT_LIST_DIR}/mingw.cmake")
# Debian 12 has clang 14, Debian 13 has clang 19.
find_program(clang NAMES clang++-14 clang++-19 NO_CACHE)
string(REGEX MATCH "-[0-9]+$" suffix "${clang}")
set(MINGW_CLANG_SUFFIX "${suffix}" CACHE STRING "Suffix of the clang programs")
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES MINGW_CLANG_SUFFIX)
set(CMAKE_C_COMPILER clang${MINGW_CLANG_SUFFIX})
set(CMAKE_CXX_COMPILER clang++${MINGW_CLANG_SUFFIX})
set(CMAKE_C_COMPILER_TARGET x86_64-w64-mingw32)
set(CMAKE_CXX_COMPILER_TARGET x86_64-w64-mingw32)
# clang does not search Debian's "12-posix" folder of GCC. GCC's standard library depends on two settings
# of GCC: emulated thread-local variables, and a function of the library that compares types. Without the
# second setting, lld would find that function twice.
execute_process(COMMAND x86_64-w64-mingw32-g++-posix -print-file-name=libstdc++.a
                OUTPUT_VARIABLE gcc_standard_library OUTPUT_STRIP_TRAILING_WHITESPACE)
get_filename_component(gcc_folder "${gcc_standard_library}" DIRECTORY)
string(CONCAT CMAKE_CXX_FLAGS_INIT
       "-femulated-tls -D__GXX_TYPEINFO_EQUALITY_INLINE=0 -Wno-unused-command-line-argument -nostdinc++ "
       "-isystem ${gcc_folder}/include/c++ -isystem ${gcc_folder}/include/c++/x86_64-w64-mingw32")
foreach(kind IN ITEMS EXE SHARED MODULE)
  # With the version in its name: Debian's package has no plain "ld.lld".
  string(APPEND CMAKE_${kind}_LINKER_FLAGS_INIT
         " -fuse-ld=lld --ld-path=ld.lld${MINGW_CLANG_SUFFIX} -L${gcc_folder} -lwinpthread")
endforeach()
