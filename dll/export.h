#pragma once
/// @file
/// Defines I18NRESOURCE_API, which marks the functions and classes that I18nResource.dll exports.

/// I18NRESOURCE_BUILDING is defined while the DLL itself is compiled. I18NRESOURCE_STATIC is
/// defined for programs, such as the library's tests, that compile the library's source files
/// instead of linking to the DLL.
#if __cplusplus < 201703L && (!defined(_MSVC_LANG) || _MSVC_LANG < 201703L)
#error "I18nResource needs C++17 or newer: compile with -std=c++17 or /std:c++17"
#elif defined(I18NRESOURCE_STATIC)
#define I18NRESOURCE_API
#elif defined(I18NRESOURCE_BUILDING)
#define I18NRESOURCE_API __declspec(dllexport)
#else
#define I18NRESOURCE_API __declspec(dllimport)
#endif

// Functions in the DLL take and return strings and containers of the standard library. With Visual
// C++, the program and the DLL must therefore use the same runtime library and the same
// _ITERATOR_DEBUG_LEVEL. The DLL exports a function whose name contains both settings. Each program
// links to the function whose name contains the program's settings. If the settings differ, the
// linker reports an error, for example:
//
//     unresolved external symbol __imp_i18nresource_runtime_MDd_iterators_2
//
// #pragma detect_mismatch alone would not detect the difference, because it stores the settings in
// object files. The import library of a DLL does not contain these object files.
#if defined(_MSC_VER) && !defined(I18NRESOURCE_STATIC)
#include <string>  // Visual C++ defines _ITERATOR_DEBUG_LEVEL in its library headers
#if defined(_ITERATOR_DEBUG_LEVEL)

#if !defined(_DLL)
#define I18NRESOURCE_RUNTIME MT  // the DLL itself never uses the static runtime library
#elif defined(_DEBUG)
#define I18NRESOURCE_RUNTIME MDd
#else
#define I18NRESOURCE_RUNTIME MD
#endif
// Joining and quoting need two macros each, so that the arguments are expanded first.
#define I18NRESOURCE_JOIN_RUNTIME(runtime, level) i18nresource_runtime_##runtime##_iterators_##level
#define I18NRESOURCE_RUNTIME_NAME(runtime, level) I18NRESOURCE_JOIN_RUNTIME(runtime, level)
#define I18NRESOURCE_QUOTE_NAME(name) #name
#define I18NRESOURCE_QUOTE(name) I18NRESOURCE_QUOTE_NAME(name)

#if defined(I18NRESOURCE_BUILDING)
extern "C" I18NRESOURCE_API void I18NRESOURCE_RUNTIME_NAME(I18NRESOURCE_RUNTIME,
                                                           _ITERATOR_DEBUG_LEVEL)();
#else
#pragma comment(linker, "/include:__imp_" I18NRESOURCE_QUOTE(I18NRESOURCE_RUNTIME_NAME( \
                            I18NRESOURCE_RUNTIME, _ITERATOR_DEBUG_LEVEL)))
#endif

#endif
#endif
