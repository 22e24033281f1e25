# Adds test programs as ctest tests. On Linux, the tests run in the Wine session of the build
# folder.
#
#   i18nresource_add_tests(<name> SOURCES <files>... [LIBRARIES <libs>...] [INTERNAL] [PROPERTIES ...])
#
# Builds <name>.exe from doctest sources and the main() function that all test programs share. The
# program is a single ctest test, which prints the test cases that fail. The I18NRESOURCE_TEST_CASES
# environment variable selects test cases. Its value is a comma-separated list of doctest patterns.
# A program in which no test case matches fails. With INTERNAL, the program contains sources of the
# library and does not link to the DLL, so that it can test internal functions. PROPERTIES are
# passed to set_tests_properties().
if(CMAKE_CROSSCOMPILING)
  set(wine_session "${PROJECT_SOURCE_DIR}/scripts/wine-session.sh")
  # Programs that are tested directly run with a lower priority than exchange.sh and sheet.sh. Most
  # tests of these scripts use the clipboard and therefore run one after the other, which takes
  # longest.
  set(CMAKE_CROSSCOMPILING_EMULATOR nice "${wine_session}" run "${PROJECT_BINARY_DIR}")
  add_custom_target(wine_session COMMAND "${wine_session}" start "${PROJECT_BINARY_DIR}" VERBATIM)
endif()

function(i18nresource_add_tests name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "INTERNAL" "" "SOURCES;LIBRARIES;PROPERTIES")
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE i18nresource_internal_settings test_support ${arg_LIBRARIES})
  i18nresource_precompile_headers(${name} REUSE_FROM test_support)
  if(arg_INTERNAL)
    target_compile_definitions(${name} PRIVATE I18NRESOURCE_STATIC)
    i18nresource_count_coverage(${name})
  else()
    target_link_libraries(${name} PRIVATE I18nResource)
  endif()
  if(CMAKE_CROSSCOMPILING)
    add_dependencies(${name} wine_session)
  endif()
  add_test(NAME ${name} COMMAND ${name})
  # The TIMEOUT property is for programs that hang outside test cases. Test cases have their own
  # limit.
  set_tests_properties(${name} PROPERTIES TIMEOUT 1200 ${arg_PROPERTIES})
endfunction()
