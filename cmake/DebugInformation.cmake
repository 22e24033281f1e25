# i18nresource_separate_debug_information(<target>)
#
# In each configuration, writes the debug information of a DLL to a separate file in the folder of
# the DLL. With Visual C++, the file is the program database <name>.pdb. With MinGW-w64, the file is
# <name>.dll.debug. Debug information inside the DLL would be mapped into memory whenever the DLL is
# loaded.
function(i18nresource_separate_debug_information target)
  if(MSVC)
    set_target_properties(${target} PROPERTIES MSVC_DEBUG_INFORMATION_FORMAT ProgramDatabase)
    # /DEBUG disables the following linker optimizations, so they are enabled again.
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
