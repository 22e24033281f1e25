#pragma once
/// @file
/// Free functions that call the resource manager. Unless a comment states otherwise, each function
/// calls the method of the same name on i18nres::Manager::Instance(), and returns the result of the
/// method. Call these functions only between i18nres_Init() and i18nres_Term(). Without a manager,
/// every function except loadImageCursor() crashes. In a debug build of the library, an assertion
/// fails first.

#include <windows.h>

#include <msxml2.h>
#include <ole2.h>

#include <string>

#include "dll/export.h"
#include "i18nres/Manager.h"

namespace i18nres {

/// @{
/// Calls the manager's method with the same name.
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
/// Returns the string by value. The result is empty if the string is missing, or if the conversion
/// to a std::string fails.
I18NRESOURCE_API std::wstring loadStdStringW(const wchar_t* module, unsigned id);
I18NRESOURCE_API std::wstring loadDefaultStdStringW(const wchar_t* module, unsigned id);
I18NRESOURCE_API std::string loadStdStringA(const wchar_t* module, unsigned id);
I18NRESOURCE_API std::string loadDefaultStdStringA(const wchar_t* module, unsigned id);
/// @}

/// @{
/// Calls the manager's method with the same name.
I18NRESOURCE_API HRESULT loadBString(const wchar_t* module, unsigned id, BSTR* out);
I18NRESOURCE_API HRESULT loadDefaultBString(const wchar_t* module, unsigned id, BSTR* out);

I18NRESOURCE_API HANDLE loadImage(const wchar_t* module, const wchar_t* name, unsigned type, int cx,
                                  int cy, unsigned flags);
I18NRESOURCE_API HICON loadImageIcon(const wchar_t* module, const wchar_t* name, int cx, int cy,
                                     unsigned flags);
/// @}

/// Calls Manager::loadImageCursor(), or returns null if there is no manager. This is the only
/// function that may be called without a manager.
I18NRESOURCE_API HICON loadImageCursor(const wchar_t* module, const wchar_t* name, int cx, int cy,
                                       unsigned flags);

/// @{
/// Calls the manager's method with the same name.
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

/// Functions that format strings. The caller must pass variable arguments that match the string in
/// number and type, because the functions do not check the arguments.
namespace detail {

/// @{
/// Calls the manager's method that has the same name without "UNSAFE_". The variable arguments are
/// the inserts. In the string, "%1" inserts wide text, "%1!hs!" inserts narrow text, and "%1!d!"
/// inserts a number. The functions without a buffer parameter return the formatted text by value.
/// This text is empty if the string is missing or cannot be formatted, or if the conversion to a
/// std::string fails.
I18NRESOURCE_API int UNSAFE_loadStringFormatW(const wchar_t* module, unsigned id, wchar_t* buf,
                                              int size, ...);
I18NRESOURCE_API std::wstring UNSAFE_loadStdStringFormatW(const wchar_t* module, unsigned id, ...);
I18NRESOURCE_API std::wstring UNSAFE_loadDefaultStdStringFormatW(const wchar_t* module, unsigned id,
                                                                 ...);
I18NRESOURCE_API std::string UNSAFE_loadStdStringFormatA(const wchar_t* module, unsigned id, ...);
/// @}

/// Loads a string in the same way as loadStdStringW(), and uses it as a printf format string. As
/// with the wide printf functions of the C runtime, "%s" formats wide text and "%hs" formats narrow
/// text. A string that contains "%n" or an unknown conversion, or ends with a single "%", is an
/// invalid format string. The origin and the marks are copied unchanged, even if the origin
/// contains a "%".
///
/// @param[out] buf  Receives the formatted text and a terminator, or the empty string if the result
///                  is 0 or -1. The terminator is written even if `size` is 0. Nothing is written
///                  if `buf` is null or `size` is negative.
/// @param size      Size of `buf` in characters, including the terminator.
/// @return the length of the formatted text in characters, without the terminator. The length
///         includes the origin and the marks. Other results:
///         - 0 if `buf` is null, if `size` is negative, or if the string is missing and `size` is
///           not 0.
///         - -1 if `size` is 0 and `buf` is not null, if the formatted text does not fit, or if the
///           format string is invalid.
I18NRESOURCE_API int UNSAFE_loadStringPrintfW(const wchar_t* module, unsigned id, wchar_t* buf,
                                              int size, ...);

}  // namespace detail

}  // namespace i18nres
