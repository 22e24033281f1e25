# Functions for projects whose modules have satellite resource libraries, and for clients of
# I18nResource.dll.

# i18nresource_utf8_resources(<files>...)
#
# Compiles resource scripts in the current source folder as UTF-8. Reports an error if a script is
# not UTF-8. A script is recompiled if a file that it references has changed.
# i18nresource_add_satellite() calls this function for the scripts of the satellite and of its
# module.
function(i18nresource_utf8_resources)
  foreach(script IN LISTS ARGV)
    _i18nresource_utf8_resource("${script}" "${CMAKE_CURRENT_SOURCE_DIR}" ""
                                DIRECTORY "${CMAKE_CURRENT_SOURCE_DIR}")
  endforeach()
endfunction()

# i18nresource_add_satellite(<target> CULTURE <tag> RC <files>...)
# i18nresource_add_satellite(<target> CULTURE <tag> PO <file>)
#
# Builds the satellite resource library of <target> for the culture or language <tag>. <target> is a
# DLL or an executable. The satellite is a resource-only DLL in the folder of <target>. The file
# name of the satellite is <name>_<tag>.dll, where <name> is the file name of <target> without the
# extension. The resource scripts of the satellite and of <target> must be UTF-8. The scripts of the
# satellite are compiled with the include folders of <target>.
#
# The name of the satellite's CMake target is <target>_<tag>. To install the satellite:
#   install(TARGETS <target>_<tag> LIBRARY DESTINATION bin)
#
# With PO, the i18nres-satellites program creates the satellite from the translations in a PO file.
# No compiler is needed. The satellite is created again if <target> or the PO file has changed. A
# cross build runs the program with CMAKE_CROSSCOMPILING_EMULATOR. To install a satellite
# that was created with PO, where <satellite> is <target>_<tag>:
#   install(FILES $<TARGET_GENEX_EVAL:<satellite>,$<TARGET_PROPERTY:<satellite>,SATELLITE_FILE>>
#           DESTINATION bin)
function(i18nresource_add_satellite target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "CULTURE;PO" "RC")
  if(NOT TARGET ${target})
    message(FATAL_ERROR "i18nresource_add_satellite: there is no target ${target}")
  endif()
  if(NOT arg_CULTURE OR arg_UNPARSED_ARGUMENTS OR (arg_RC AND arg_PO) OR NOT (arg_RC OR arg_PO))
    message(FATAL_ERROR "usage: i18nresource_add_satellite(<target> CULTURE <tag> RC <files>... | PO <file>)")
  endif()

  get_target_property(include_folders ${target} INCLUDE_DIRECTORIES)
  get_target_property(folder ${target} SOURCE_DIR)
  get_target_property(sources ${target} SOURCES)
  list(FILTER sources INCLUDE REGEX "\\.[rR][cC]$")
  foreach(script IN LISTS sources)
    _i18nresource_utf8_resource("${script}" "${folder}" "${include_folders}" TARGET_DIRECTORY ${target})
  endforeach()

  set(satellite ${target}_${arg_CULTURE})
  set_property(TARGET ${target} APPEND PROPERTY I18NRESOURCE_SATELLITES ${satellite})
  if(arg_PO)
    _i18nresource_po_satellite(${target} ${arg_CULTURE} "${arg_PO}")
    return()
  endif()
  add_library(${satellite} MODULE ${arg_RC})
  set_target_properties(${satellite} PROPERTIES
      PREFIX "" SUFFIX ".dll" LINKER_LANGUAGE CXX
      OUTPUT_NAME "$<TARGET_FILE_BASE_NAME:${target}>_${arg_CULTURE}"
      LIBRARY_OUTPUT_DIRECTORY "$<TARGET_FILE_DIR:${target}>"
      RUNTIME_OUTPUT_DIRECTORY "$<TARGET_FILE_DIR:${target}>")
  # Scripts may reference files, such as icons, in the folder of the CMakeLists.txt file.
  target_include_directories(${satellite} PRIVATE "${CMAKE_CURRENT_SOURCE_DIR}"
                             "$<TARGET_PROPERTY:${target},INCLUDE_DIRECTORIES>")
  if(MSVC)
    target_link_options(${satellite} PRIVATE /NOENTRY)
  else()
    # A relative entry point address of 0 means that the DLL has no entry point. The entry point is
    # specified as __ImageBase, a symbol whose relative address is 0, because lld accepts only a
    # symbol.
    target_link_options(${satellite} PRIVATE -nostdlib -Wl,--entry=__ImageBase)
  endif()
  add_dependencies(${satellite} ${target})

  foreach(script IN LISTS arg_RC)
    _i18nresource_utf8_resource("${script}" "${CMAKE_CURRENT_SOURCE_DIR}" "${include_folders}"
                                TARGET_DIRECTORY ${satellite})
  endforeach()
endfunction()

# i18nresource_check_satellites(<target> [STRICT])
#
# Adds the <target>_check_satellites target and a test with the same name. Both check the satellites
# of <target> with the i18nres-satellites program, and fail if a satellite has errors or, with
# STRICT, if it has warnings. Call this function after the satellites have been added. A cross build
# runs the program with CMAKE_CROSSCOMPILING_EMULATOR.
function(i18nresource_check_satellites target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "STRICT" "" "")
  if(NOT TARGET ${target} OR arg_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "usage: i18nresource_check_satellites(<target> [STRICT])")
  endif()
  _i18nresource_satellite_tool(tool)
  set(check ${tool} check "$<TARGET_FILE:${target}>")
  if(arg_STRICT)
    list(APPEND check --strict)
  endif()
  get_target_property(satellites ${target} I18NRESOURCE_SATELLITES)
  add_custom_target(${target}_check_satellites COMMAND ${check} VERBATIM)
  add_dependencies(${target}_check_satellites ${target} I18nResource::i18nres-satellites)
  if(satellites)
    add_dependencies(${target}_check_satellites ${satellites})
  endif()
  add_test(NAME ${target}_check_satellites COMMAND ${check})
endfunction()

# i18nresource_copy_runtime(<target>)
#
# Copies I18nResource.dll to the folder of the <target> program whenever the program is built. Call
# this function in the CMakeLists.txt that defines <target>.
function(i18nresource_copy_runtime target)
  add_custom_command(TARGET ${target} POST_BUILD
      COMMAND "${CMAKE_COMMAND}" -E copy_if_different "$<TARGET_FILE:I18nResource::I18nResource>"
              "$<TARGET_FILE_DIR:${target}>"
      VERBATIM)
endfunction()

# Sets the <result> variable to the command that runs i18nres-satellites.
function(_i18nresource_satellite_tool result)
  if(CMAKE_CROSSCOMPILING AND NOT CMAKE_CROSSCOMPILING_EMULATOR)
    message(FATAL_ERROR "Set CMAKE_CROSSCOMPILING_EMULATOR to the program that runs Windows programs here, "
                        "for example wine: satellites are made and checked by i18nres-satellites.exe.")
  endif()
  set(${result} ${CMAKE_CROSSCOMPILING_EMULATOR} "$<TARGET_FILE:I18nResource::i18nres-satellites>"
      PARENT_SCOPE)
endfunction()

function(_i18nresource_po_satellite target culture po)
  _i18nresource_satellite_tool(tool)
  get_filename_component(po "${po}" ABSOLUTE)
  set(satellite ${target}_${culture})
  set(file "$<TARGET_FILE_DIR:${target}>/$<TARGET_FILE_BASE_NAME:${target}>_${culture}.dll")
  # OUTPUT does not support target-dependent generator expressions, so the output is a stamp file.
  set(stamp "${CMAKE_CURRENT_BINARY_DIR}/${satellite}.stamp")
  add_custom_command(OUTPUT "${stamp}"
      COMMAND ${tool} apply "$<TARGET_FILE:${target}>" "${po}" --culture ${culture} -o "${file}"
      COMMAND "${CMAKE_COMMAND}" -E touch "${stamp}"
      DEPENDS ${target} "${po}" I18nResource::i18nres-satellites
      COMMENT "Making ${satellite}.dll of ${po}" VERBATIM)
  add_custom_target(${satellite} ALL DEPENDS "${stamp}")
  set_target_properties(${satellite} PROPERTIES SATELLITE_FILE "${file}")
endfunction()

# Implements i18nresource_utf8_resources() for a single script. Referenced files are looked up in
# the folder of the script, in `folder` and in `include_folders`. The last two arguments, DIRECTORY
# <folder> or TARGET_DIRECTORY <target>, select the directory in which the source file properties of
# the script are visible.
function(_i18nresource_utf8_resource script folder include_folders scope)
  get_filename_component(path "${script}" ABSOLUTE BASE_DIR "${folder}")
  get_property(options SOURCE "${path}" ${scope} ${ARGN} PROPERTY COMPILE_OPTIONS)
  if(MSVC)
    set(utf8 /c65001)
  else()
    set(utf8 -c65001)
  endif()
  if(utf8 IN_LIST options)
    return()  # an earlier call has set the UTF-8 option
  endif()
  # Set the option on the file, because target options are not passed to the resource compiler.
  set_property(SOURCE "${path}" ${scope} ${ARGN} APPEND PROPERTY COMPILE_OPTIONS "${utf8}")
  # A script that the build generates may not exist yet.
  if(EXISTS "${path}")
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${path}")
    _i18nresource_refuse_unless_utf8("${path}")
    set(files "")
    _i18nresource_named_files("${path}" "${folder};${include_folders}" files)
    set_property(SOURCE "${path}" ${scope} ${ARGN} APPEND PROPERTY OBJECT_DEPENDS "${files}")
  endif()
endfunction()

# Reports an error if the script is not UTF-8. If a resource compiler cannot decode a string, it
# omits the string or stores wrong characters, without reporting an error.
function(_i18nresource_refuse_unless_utf8 path)
  file(READ "${path}" bytes HEX)
  if(bytes MATCHES "^(fffe|feff)")
    if(MSVC)
      return()  # Microsoft's resource compiler detects the byte order mark of UTF-16
    endif()
    message(FATAL_ERROR "${path} is UTF-16. Save this resource script as UTF-8.")
  endif()
  string(REGEX REPLACE "(..)" "\\1 " bytes "${bytes}")
  string(REPLACE "0a " ";" lines "${bytes}")
  set(number 0)
  set(next "[89ab][0-9a-f] ")
  foreach(line IN LISTS lines)
    math(EXPR number "${number} + 1")
    if(line MATCHES "[89a-f][0-9a-f] ")
      # Replace well-formed sequences of two, three and four bytes with spaces.
      string(REGEX REPLACE "(c[2-9a-f]|d[0-9a-f]) ${next}" "20 " line "${line}")
      string(REGEX REPLACE "(e0 [ab][0-9a-f] |ed [89][0-9a-f] |e[1-9a-cef] ${next})${next}" "20 "
             line "${line}")
      string(REGEX REPLACE "(f0 [9ab][0-9a-f] |f4 8[0-9a-f] |f[1-3] ${next})${next}${next}" "20 "
             line "${line}")
      if(line MATCHES "[89a-f][0-9a-f] ")
        message(FATAL_ERROR "${path}:${number}: this line is not UTF-8. Save the resource script as UTF-8.")
      endif()
    endif()
  endforeach()
endfunction()

# Adds the existing files that a script references, directly or through other files, to the <result>
# list.
function(_i18nresource_named_files path folders result)
  set(files "${${result}}")
  get_filename_component(own_folder "${path}" DIRECTORY)
  file(READ "${path}" text)
  string(REGEX MATCHALL "\"[^][;\"\n]+\\.[^][;\"\n]+\"|[^][;\"\n\t ]+\\.[^][;\"\n\t ]+" names "${text}")
  list(REMOVE_DUPLICATES names)
  foreach(name IN LISTS names)
    string(REPLACE "\"" "" name "${name}")
    string(REGEX REPLACE "[\\]+" "/" name "${name}")
    foreach(folder IN LISTS own_folder folders)
      get_filename_component(file "${name}" ABSOLUTE BASE_DIR "${folder}")
      if(NOT EXISTS "${file}" OR IS_DIRECTORY "${file}" OR file IN_LIST files)
        continue()
      endif()
      list(APPEND files "${file}")
      if(file MATCHES "\\.(rc|rc2|dlg|h)$")
        _i18nresource_named_files("${file}" "${folders}" files)
      endif()
    endforeach()
  endforeach()
  set(${result} "${files}" PARENT_SCOPE)
endfunction()
