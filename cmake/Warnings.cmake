# Selects the compiler warnings for all targets of the project. Each target links to
# i18nresource_warnings.
option(I18NRESOURCE_WARNINGS_AS_ERRORS "Treat warnings as errors" OFF)
add_library(i18nresource_warnings INTERFACE)
if(MSVC)
  target_compile_options(i18nresource_warnings INTERFACE
      /W4 /permissive- /utf-8 /Zc:__cplusplus $<$<BOOL:${I18NRESOURCE_WARNINGS_AS_ERRORS}>:/WX>)
else()
  # -Wnon-virtual-dtor is not used, because it makes GCC report each class that is derived from
  # IUnknown.
  target_compile_options(i18nresource_warnings INTERFACE $<$<COMPILE_LANGUAGE:CXX>:
      -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wdelete-non-virtual-dtor
      $<$<BOOL:${I18NRESOURCE_WARNINGS_AS_ERRORS}>:-Werror>>)
endif()
