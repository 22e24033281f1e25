# i18nresource_utf8_resources(<files>...)
#
# Declares that resource scripts of the current folder are written in UTF-8.
function(i18nresource_utf8_resources)
  if(MSVC)
    set(utf8 /c65001)
  else()
    set(utf8 -c65001)
  endif()
  # On the files: options of a target do not reach the resource compiler.
  set_property(SOURCE ${ARGV} APPEND PROPERTY COMPILE_OPTIONS ${utf8})
endfunction()

# i18nresource_add_satellite(<target> CULTURE <tag> RC <files>...)
#
# Builds the satellite resource library of <target> (a DLL or an executable) for the culture or
# language <tag>: a DLL without code, named <name>_<tag>.dll after the file name of <target>, put
# beside it. The target that builds it is called <target>_<tag>. The resource scripts are UTF-8.
function(i18nresource_add_satellite target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "CULTURE" "RC")
  if(NOT TARGET ${target})
    message(FATAL_ERROR "i18nresource_add_satellite: there is no target ${target}")
  endif()
  if(NOT arg_CULTURE OR NOT arg_RC OR arg_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "usage: i18nresource_add_satellite(<target> CULTURE <tag> RC <files>...)")
  endif()

  set(satellite ${target}_${arg_CULTURE})
  add_library(${satellite} MODULE ${arg_RC})
  set_target_properties(${satellite} PROPERTIES
      PREFIX "" SUFFIX ".dll" LINKER_LANGUAGE CXX
      OUTPUT_NAME "$<TARGET_FILE_BASE_NAME:${target}>_${arg_CULTURE}"
      LIBRARY_OUTPUT_DIRECTORY "$<TARGET_FILE_DIR:${target}>"
      RUNTIME_OUTPUT_DIRECTORY "$<TARGET_FILE_DIR:${target}>")
  i18nresource_utf8_resources(${arg_RC})
  # Files that the scripts name, such as icons, stand beside them.
  target_include_directories(${satellite} PRIVATE "${CMAKE_CURRENT_SOURCE_DIR}")
  if(MSVC)
    target_link_options(${satellite} PRIVATE /NOENTRY)
  else()
    # An entry point at the start of the image is at address 0, which says that there is none. lld takes
    # no number here; this name GNU ld knows as well.
    target_link_options(${satellite} PRIVATE -nostdlib -Wl,--entry=__ImageBase)
  endif()
  add_dependencies(${satellite} ${target})
endfunction()
