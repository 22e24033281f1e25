# Compiler settings for all sources of the project.
add_library(i18nresource_internal_settings INTERFACE)
target_compile_features(i18nresource_internal_settings INTERFACE cxx_std_20)
target_compile_definitions(i18nresource_internal_settings INTERFACE
    UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN _WIN32_WINNT=0x0601 WINVER=0x0601)
target_include_directories(i18nresource_internal_settings INTERFACE "${PROJECT_SOURCE_DIR}")
target_link_libraries(i18nresource_internal_settings INTERFACE $<BUILD_INTERFACE:i18nresource_warnings>)
if(MINGW)
  # Coverage builds do not check for undefined behavior, because each check would add a branch that
  # no test executes.
  set(traps "$<AND:$<CONFIG:Debug>,$<NOT:$<BOOL:${I18NRESOURCE_COVERAGE}>>>")
  # Alignment is not checked, because marshaling code may pass the library an interface identifier
  # (IID) that is not aligned.
  target_compile_options(i18nresource_internal_settings INTERFACE
      $<$<COMPILE_LANGUAGE:CXX>:-g
      $<$<CONFIG:Debug>:-D_GLIBCXX_ASSERTIONS>
      $<${traps}:-fsanitize=undefined -fsanitize-undefined-trap-on-error -fno-sanitize=alignment>>)
  target_link_options(i18nresource_internal_settings INTERFACE
      $<${traps}:-fsanitize=undefined -fsanitize-undefined-trap-on-error>)
endif()

# Measures the line and branch coverage of a target if I18NRESOURCE_COVERAGE is on.
function(i18nresource_count_coverage target)
  if(I18NRESOURCE_COVERAGE)
    # Update the counts atomically, because tests call the library from several threads, and lost
    # updates would make some computed counts negative.
    target_compile_options(${target} PRIVATE
        $<$<COMPILE_LANGUAGE:CXX>:--coverage> $<$<COMPILE_LANGUAGE:CXX>:-fprofile-update=atomic>)
    target_link_options(${target} PRIVATE --coverage)
  endif()
endfunction()
