# i18nresource_precompile_headers(<target> [REUSE_FROM <other target>])
#
# Precompiles the Windows and standard library headers that most sources of the target include. With
# REUSE_FROM, uses the precompiled headers of another target, which must have the same compiler
# options. Each source must still include the headers that it uses. The mingw-coverage preset does
# not use precompiled headers, so a build with this preset fails if an include is missing.
function(i18nresource_precompile_headers target)
  if(ARGN)
    target_precompile_headers(${target} ${ARGN})
  else()
    target_precompile_headers(${target} PRIVATE
        <windows.h> <ole2.h> <msxml2.h> <algorithm> <memory> <string> <string_view> <vector>)
  endif()
  # GCC 12 does not treat precompiled headers as system headers, and therefore does not suppress its
  # false warnings about overruns in std::wstring.
  if(NOT CMAKE_DISABLE_PRECOMPILE_HEADERS)
    target_compile_options(${target} PRIVATE $<$<AND:$<COMPILE_LANGUAGE:CXX>,$<CXX_COMPILER_ID:GNU>>:
        -Wno-array-bounds -Wno-restrict -Wno-stringop-overflow -Wno-stringop-overread>)
  endif()
endfunction()
