#include "i18nres/i18nres.h"

#include <windows.h>

#include <cassert>
#include <cstdarg>
#include <cstdio>
#include <cwchar>

#include "i18nres/PrintfPattern.h"
#include "i18nres/StringDecorations.h"

namespace i18nres {

namespace {

/// Compatibility: only debug builds check whether there is a manager, because a call without a
/// manager is a programming error.
Manager& manager() noexcept {
    assert(Manager::Instance() && "call i18nres_Init() first, and i18nres_Term() last");
    return *Manager::Instance();
}

}  // namespace

HINSTANCE getResLibHandle(const wchar_t* module, const wchar_t* resName, const wchar_t* resType) {
    return manager().getResLibHandle(module, resName, resType);
}

int loadStringW(const wchar_t* module, unsigned id, wchar_t* buf, int size) {
    return manager().loadStringW(module, id, buf, size);
}

int loadDefaultStringW(const wchar_t* module, unsigned id, wchar_t* buf, int size) {
    return manager().loadDefaultStringW(module, id, buf, size);
}

int loadStringA(const wchar_t* module, unsigned id, char* buf, int size) {
    return manager().loadStringA(module, id, buf, size);
}

int loadDefaultStringA(const wchar_t* module, unsigned id, char* buf, int size) {
    return manager().loadDefaultStringA(module, id, buf, size);
}

int loadStdStringW(const wchar_t* module, unsigned id, std::wstring& out) {
    return manager().loadStdStringW(module, id, out);
}

int loadStdStringA(const wchar_t* module, unsigned id, std::string& out) {
    return manager().loadStdStringA(module, id, out);
}

std::wstring loadStdStringW(const wchar_t* module, unsigned id) {
    std::wstring text;
    manager().loadStdStringW(module, id, text);
    return text;
}

std::wstring loadDefaultStdStringW(const wchar_t* module, unsigned id) {
    std::wstring text;
    manager().loadDefaultStdStringW(module, id, text);
    return text;
}

std::string loadStdStringA(const wchar_t* module, unsigned id) {
    std::string text;
    manager().loadStdStringA(module, id, text);
    return text;
}

std::string loadDefaultStdStringA(const wchar_t* module, unsigned id) {
    std::string text;
    manager().loadDefaultStdStringA(module, id, text);
    return text;
}

HRESULT loadBString(const wchar_t* module, unsigned id, BSTR* out) {
    return manager().loadBString(module, id, out);
}

HRESULT loadDefaultBString(const wchar_t* module, unsigned id, BSTR* out) {
    return manager().loadDefaultBString(module, id, out);
}

HANDLE loadImage(const wchar_t* module, const wchar_t* name, unsigned type, int cx, int cy,
                 unsigned flags) {
    return manager().loadImage(module, name, type, cx, cy, flags);
}

HICON loadImageIcon(const wchar_t* module, const wchar_t* name, int cx, int cy, unsigned flags) {
    return manager().loadImageIcon(module, name, cx, cy, flags);
}

HICON loadImageCursor(const wchar_t* module, const wchar_t* name, int cx, int cy, unsigned flags) {
    // Compatibility: this function also works without a manager, because window procedures set
    // their cursors even after the last call to Term().
    Manager* const instance = Manager::Instance();
    return instance ? instance->loadImageCursor(module, name, cx, cy, flags) : nullptr;
}

HBITMAP loadImageBitmap(const wchar_t* module, const wchar_t* name, int cx, int cy,
                        unsigned flags) {
    return manager().loadImageBitmap(module, name, cx, cy, flags);
}

HMENU loadMenu(const wchar_t* module, const wchar_t* name) {
    return manager().loadMenu(module, name);
}

HRESULT loadXMLDocumentFromResource(const wchar_t* module, unsigned short id,
                                    IXMLDOMDocument2*& doc) {
    return manager().loadXMLDocumentFromResource(module, id, doc);
}

HRESULT loadXML6DocumentFromResource(const wchar_t* module, unsigned short id,
                                     IXMLDOMDocument2*& doc) {
    return manager().loadXML6DocumentFromResource(module, id, doc);
}

HRESULT loadHTMLDocumentFromResource(const wchar_t* module, unsigned short id, std::string& out) {
    return manager().loadHTMLDocumentFromResource(module, id, out);
}

HRESULT getLocalizedNodeValue(IXMLDOMNode* node, const wchar_t* const name, wchar_t** value) {
    return manager().getLocalizedNodeValue(node, name, value);
}

namespace detail {

// If one of the following functions throws an exception, va_end is not called. The missing call
// is harmless on Windows, where a va_list is a plain pointer and va_end does nothing.

int UNSAFE_loadStringFormatW(const wchar_t* module, unsigned id, wchar_t* buf, int size, ...) {
    va_list args;
    va_start(args, size);
    const int count = manager().loadStringFormatW(module, id, buf, size, args);
    va_end(args);
    return count;
}

std::wstring UNSAFE_loadStdStringFormatW(const wchar_t* module, unsigned id, ...) {
    std::wstring text;
    va_list args;
    va_start(args, id);
    manager().loadStdStringFormatW(module, id, text, args);
    va_end(args);
    return text;
}

std::wstring UNSAFE_loadDefaultStdStringFormatW(const wchar_t* module, unsigned id, ...) {
    std::wstring text;
    va_list args;
    va_start(args, id);
    manager().loadDefaultStdStringFormatW(module, id, text, args);
    va_end(args);
    return text;
}

std::string UNSAFE_loadStdStringFormatA(const wchar_t* module, unsigned id, ...) {
    std::string text;
    va_list args;
    va_start(args, id);
    manager().loadStdStringFormatA(module, id, text, args);
    va_end(args);
    return text;
}

int UNSAFE_loadStringPrintfW(const wchar_t* module, unsigned id, wchar_t* buf, int size, ...) {
    if (!buf || size < 0) return 0;
    std::wstring pattern = loadStdStringW(module, id);
    escapeOrigin(pattern, module, id);

    int count = -1;
    if (size > 0 && isPrintfPattern(pattern)) {
        va_list args;
        va_start(args, size);
        // In MinGW's own printf functions, "%s" formats narrow text. _vsnwprintf_s is used because
        // MinGW does not replace it with its own function. With _TRUNCATE, _vsnwprintf_s returns -1
        // if the text does not fit, and does not call the invalid parameter handler.
        count =
            ::_vsnwprintf_s(buf, static_cast<std::size_t>(size), _TRUNCATE, pattern.c_str(), args);
        va_end(args);
    }
    // Compatibility: the terminator is written even for a size of 0. Clients that pass 0 provide a
    // buffer of one character.
    if (count <= 0) buf[0] = L'\0';
    return count;
}

}  // namespace detail

}  // namespace i18nres
