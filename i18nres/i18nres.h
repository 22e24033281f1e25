#pragma once
/// @file
/// The resource manager as free functions. Each calls the method of the same name of
/// i18nres::Manager::Instance() and returns its result. Call them only between i18nres_Init() and
/// i18nres_Term(): otherwise all but loadImageCursor() crash. A debug build of the library prints the
/// reason before it ends the process.

#include <windows.h>

#include <msxml2.h>
#include <ole2.h>

#include <string>

#include "dll/export.h"
#include "i18nres/Manager.h"

namespace i18nres {

/// @{
/// Calls the method of the same name of the manager.
I18NRESOURCE_API HINSTANCE getResLibHandle(const wchar_t* module, const wchar_t* resName,
                                           const wchar_t* resType);

I18NRESOURCE_API int loadStringW(const wchar_t* module, unsigned id, wchar_t* buf, int size);
I18NRESOURCE_API int loadDefaultStringW(const wchar_t* module, unsigned id, wchar_t* buf, int size);
I18NRESOURCE_API int loadStringA(const wchar_t* module, unsigned id, char* buf, int size);
I18NRESOURCE_API int loadDefaultStringA(const wchar_t* module, unsigned id, char* buf, int size);

I18NRESOURCE_API int loadStdStringW(const wchar_t* module, unsigned id, std::wstring& out);
I18NRESOURCE_API int loadStdStringA(const wchar_t* module, unsigned id, std::string& out);
/// @}

/// @{
/// The same by value. Returns the empty string when the string is missing.
I18NRESOURCE_API std::wstring loadStdStringW(const wchar_t* module, unsigned id);
I18NRESOURCE_API std::wstring loadDefaultStdStringW(const wchar_t* module, unsigned id);
I18NRESOURCE_API std::string loadStdStringA(const wchar_t* module, unsigned id);
I18NRESOURCE_API std::string loadDefaultStdStringA(const wchar_t* module, unsigned id);
/// @}

/// @{
/// Calls the method of the same name of the manager.
I18NRESOURCE_API HRESULT loadBString(const wchar_t* module, unsigned id, BSTR* out);
I18NRESOURCE_API HRESULT loadDefaultBString(const wchar_t* module, unsigned id, BSTR* out);

I18NRESOURCE_API HANDLE loadImage(const wchar_t* module, const wchar_t* name, unsigned type, int cx,
                                  int cy, unsigned flags);
I18NRESOURCE_API HICON loadImageIcon(const wchar_t* module, const wchar_t* name, int cx, int cy,
                                     unsigned flags);
/// @}

/// Calls Manager::loadImageCursor(). This is the only function that may be called while there is no
/// manager. It returns null then.
I18NRESOURCE_API HICON loadImageCursor(const wchar_t* module, const wchar_t* name, int cx, int cy,
                                       unsigned flags);

/// @{
/// Calls the method of the same name of the manager.
I18NRESOURCE_API HBITMAP loadImageBitmap(const wchar_t* module, const wchar_t* name, int cx, int cy,
                                         unsigned flags);
I18NRESOURCE_API HMENU loadMenu(const wchar_t* module, const wchar_t* name);

I18NRESOURCE_API HRESULT loadXMLDocumentFromResource(const wchar_t* module, unsigned short id,
                                                     IXMLDOMDocument2*& doc);
I18NRESOURCE_API HRESULT loadXML6DocumentFromResource(const wchar_t* module, unsigned short id,
                                                      IXMLDOMDocument2*& doc);
I18NRESOURCE_API HRESULT loadHTMLDocumentFromResource(const wchar_t* module, unsigned short id,
                                                      std::string& out);
I18NRESOURCE_API HRESULT getLocalizedNodeValue(IXMLDOMNode* node, const wchar_t* const name,
                                               wchar_t** value);
/// @}

/// Functions that format strings. The trailing arguments must match the inserts of the string, in
/// number and type: they are not checked.
namespace detail {

/// @{
/// Calls the Format method of the manager with the trailing arguments as inserts. A wide insert is
/// "%1", a narrow one "%1!hs!", a number "%1!d!".
I18NRESOURCE_API int UNSAFE_loadStringFormatW(const wchar_t* module, unsigned id, wchar_t* buf,
                                              int size, ...);
I18NRESOURCE_API std::wstring UNSAFE_loadStdStringFormatW(const wchar_t* module, unsigned id, ...);
I18NRESOURCE_API std::wstring UNSAFE_loadDefaultStdStringFormatW(const wchar_t* module, unsigned id,
                                                                 ...);
I18NRESOURCE_API std::string UNSAFE_loadStdStringFormatA(const wchar_t* module, unsigned id, ...);
/// @}

/// Formats a string of the current culture as a pattern of printf. As in the wide formatters of the
/// C runtime, "%s" takes wide and "%hs" takes narrow text. The origin and the marks are part of the
/// text, never conversions.
///
/// @param[out] buf  Emptied when the result is 0 or -1, and also for a `size` of 0: one character
///                  is written even then. Untouched when it is null or `size` negative.
/// @param size      Of `buf`, in characters, terminator counted.
/// @return count of characters without the terminator; 0 for a null `buf`, a negative `size` or a
///         missing string; -1 for a `size` of 0, when the text does not fit, and when the string is
///         not a valid pattern: it holds an unknown conversion or "%n", or ends in a single "%".
I18NRESOURCE_API int UNSAFE_loadStringPrintfW(const wchar_t* module, unsigned id, wchar_t* buf,
                                              int size, ...);

}  // namespace detail

}  // namespace i18nres
