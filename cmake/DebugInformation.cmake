# i18nresource_separate_debug_information(<target>)
#
# Puts the debug information of a DLL into a file beside it, in every configuration. Debuggers find it
# there. Visual C++ writes a program database, <name>.pdb. MinGW-w64 gets <name>.dll.debug: inside the DLL
# the system would map it whenever it loads the DLL.
function(i18nresource_separate_debug_information target)
  if(MSVC)
    set_target_properties(${target} PROPERTIES MSVC_DEBUG_INFORMATION_FORMAT ProgramDatabase)
    # /DEBUG switches these optimisations of the linker off.
    target_link_options(${target} PRIVATE /DEBUG $<$<CONFIG:Release>:/OPT:REF> $<$<CONFIG:Release>:/OPT:ICF>)
  else()
    set(information "$<TARGET_FILE:${target}>.debug")
    add_custom_command(TARGET ${target} POST_BUILD
        COMMAND "${CMAKE_OBJCOPY}" --only-keep-debug "$<TARGET_FILE:${target}>" "${information}"
        COMMAND "${CMAKE_OBJCOPY}" --strip-unneeded "--add-gnu-debuglink=${information}"
                "$<TARGET_FILE:${target}>"
        COMMENT "Separating the debug information of ${target}" VERBATIM)
  endif()
endfunction()
