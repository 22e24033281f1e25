# Toolchain: clang and lld for 64-bit Windows, with the headers of MinGW-w64 and the standard
# library of GCC.
include("${CMAKE_CURRENT_LIST_DIR}/mingw.cmake")
# Debian 12 has clang 14, and Debian 13 has clang 19.
find_program(clang NAMES clang++-14 clang++-19 NO_CACHE)
string(REGEX MATCH "-[0-9]+$" suffix "${clang}")
set(MINGW_CLANG_SUFFIX "${suffix}" CACHE STRING "Suffix of the clang programs")
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES MINGW_CLANG_SUFFIX)
set(CMAKE_C_COMPILER clang${MINGW_CLANG_SUFFIX})
set(CMAKE_CXX_COMPILER clang++${MINGW_CLANG_SUFFIX})
set(CMAKE_C_COMPILER_TARGET x86_64-w64-mingw32)
set(CMAKE_CXX_COMPILER_TARGET x86_64-w64-mingw32)
# On Debian, clang does not search the GCC folder that contains the standard library (for example
# "12-posix"). The standard library of GCC is built with two settings that clang must also use:
# thread-local variables are emulated, and the comparison of std::type_info objects is not inline.
# Without the second setting, lld would find two definitions of the comparison function.
execute_process(COMMAND x86_64-w64-mingw32-g++-posix -print-file-name=libstdc++.a
                OUTPUT_VARIABLE gcc_standard_library OUTPUT_STRIP_TRAILING_WHITESPACE)
get_filename_component(gcc_folder "${gcc_standard_library}" DIRECTORY)
string(CONCAT CMAKE_CXX_FLAGS_INIT
       "-femulated-tls -D__GXX_TYPEINFO_EQUALITY_INLINE=0 -Wno-unused-command-line-argument -nostdinc++ "
       "-isystem ${gcc_folder}/include/c++ -isystem ${gcc_folder}/include/c++/x86_64-w64-mingw32")
foreach(kind IN ITEMS EXE SHARED MODULE)
  # The lld packages of Debian include the version in the name of the linker, such as "ld.lld-14".
  string(APPEND CMAKE_${kind}_LINKER_FLAGS_INIT
         " -fuse-ld=lld --ld-path=ld.lld${MINGW_CLANG_SUFFIX} -L${gcc_folder} -lwinpthread")
endforeach()
