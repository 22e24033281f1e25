# i18nresource_separate_debug_information(<target>)
#
# Puts the debug information of a DLL into a file beside it, <name>.dll.debug, where debuggers and
# addr2line find it. The system would map it whenever it loads the DLL. For MinGW; Visual C++ keeps it
# apart anyway.
function(i18nresource_separate_debug_information target)
  set(information "$<TARGET_FILE:${target}>.debug")
  add_custom_command(TARGET ${target} POST_BUILD
      COMMAND "${CMAKE_OBJCOPY}" --only-keep-debug "$<TARGET_FILE:${target}>" "${information}"
      COMMAND "${CMAKE_OBJCOPY}" --strip-unneeded "--add-gnu-debuglink=${information}"
              "$<TARGET_FILE:${target}>"
      COMMENT "Separating the debug information of ${target}" VERBATIM)
endfunction()
