# Reports an error if the static runtime library of Visual C++ (/MT, /MTd) is selected. The client
# frees strings that the DLL returns, and catches exceptions that the DLL throws. Therefore, the DLL
# and the client must both use the shared runtime library.
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
