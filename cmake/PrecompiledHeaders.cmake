# i18nresource_precompile_headers(<target> [REUSE_FROM <other target>])
#
# Parses, once for all sources of the target, the headers of Windows and of the standard library that
# most of them include, or uses those that another target has parsed with the same options. Every source
# still includes the headers that it needs: preset mingw-coverage builds without precompiled headers, so a missing
# include fails there.
function(i18nresource_precompile_headers target)
  if(ARGN)
    target_precompile_headers(${target} ${ARGN})
  else()
    target_precompile_headers(${target} PRIVATE
        <windows.h> <ole2.h> <msxml2.h> <algorithm> <memory> <string> <string_view> <vector>)
  endif()
  # GCC 12 treats precompiled headers as the project's own code and reports overruns inside std::wstring that do
  # not happen. Without precompiled headers it suppresses these warnings in the system's headers.
  if(NOT CMAKE_DISABLE_PRECOMPILE_HEADERS)
    target_compile_options(${target} PRIVATE $<$<AND:$<COMPILE_LANGUAGE:CXX>,$<CXX_COMPILER_ID:GNU>>:
        -Wno-array-bounds -Wno-restrict -Wno-stringop-overflow -Wno-stringop-overread>)
  endif()
endfunction()
