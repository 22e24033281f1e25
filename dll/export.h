#pragma once
/// @file
/// Marks what I18nResource.dll exports.

/// I18NRESOURCE_BUILDING is defined while the DLL itself is compiled. I18NRESOURCE_STATIC is for
/// programs that compile sources of the library into themselves, such as its own tests.
#if defined(I18NRESOURCE_STATIC)
#define I18NRESOURCE_API
#elif defined(I18NRESOURCE_BUILDING)
#define I18NRESOURCE_API __declspec(dllexport)
#else
#define I18NRESOURCE_API __declspec(dllimport)
#endif
