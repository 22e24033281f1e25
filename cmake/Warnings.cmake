# The one place where warnings are chosen. Link i18nresource_warnings to every target of the project.
option(I18NRESOURCE_WARNINGS_AS_ERRORS "Treat warnings as errors" OFF)
add_library(i18nresource_warnings INTERFACE)
if(MSVC)
  target_compile_options(i18nresource_warnings INTERFACE
      /W4 /permissive- /utf-8 /Zc:__cplusplus $<$<BOOL:${I18NRESOURCE_WARNINGS_AS_ERRORS}>:/WX>)
else()
  # Without -Wnon-virtual-dtor: GCC reports every class derived from IUnknown.
  target_compile_options(i18nresource_warnings INTERFACE $<$<COMPILE_LANGUAGE:CXX>:
      -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wdelete-non-virtual-dtor
      $<$<BOOL:${I18NRESOURCE_WARNINGS_AS_ERRORS}>:-Werror>>)
endif()
