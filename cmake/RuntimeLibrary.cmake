# Refuses Visual C++'s static runtime library (/MT, /MTd). Strings that the DLL returns are freed by its
# caller, and exceptions pass from one to the other, so both must use one runtime library: the shared one.
if(MSVC)
  set(flags "${CMAKE_CXX_FLAGS} ${CMAKE_CXX_FLAGS_DEBUG} ${CMAKE_CXX_FLAGS_RELEASE}")
  string(APPEND flags " ${CMAKE_CXX_FLAGS_RELWITHDEBINFO} ${CMAKE_CXX_FLAGS_MINSIZEREL}")
  if((CMAKE_MSVC_RUNTIME_LIBRARY AND NOT CMAKE_MSVC_RUNTIME_LIBRARY MATCHES "DLL")
     OR flags MATCHES "(^| )[/-]MTd?( |$)")
    message(FATAL_ERROR
        "I18nResource cannot use the static runtime library (/MT): a client frees strings that the DLL "
        "allocated. Leave CMAKE_MSVC_RUNTIME_LIBRARY unset, or set it to MultiThreadedDLL "
        "(MultiThreadedDebugDLL for Debug), and remove /MT from the compiler flags.")
  endif()
endif()
