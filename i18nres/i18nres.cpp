#include "i18nres/i18nres.h"

#include <windows.h>

#include <cstdarg>
#include <cstdio>
#include <cwchar>

#include "i18nres/PrintfPattern.h"
#include "i18nres/StringDecorations.h"

namespace i18nres {

HINSTANCE getResLibHandle(const wchar_t* module, const wchar_t* resName, const wchar_t* resType) {
    return Manager::Instance()->getResLibHandle(module, resName, resType);
}

int loadStringW(const wchar_t* module, unsigned id, wchar_t* buf, int size) {
    return Manager::Instance()->loadStringW(module, id, buf, size);
}

int loadDefaultStringW(const wchar_t* module, unsigned id, wchar_t* buf, int size) {
    return Manager::Instance()->loadDefaultStringW(module, id, buf, size);
}

int loadStringA(const wchar_t* module, unsigned id, char* buf, int size) {
    return Manager::Instance()->loadStringA(module, id, buf, size);
}

int loadDefaultStringA(const wchar_t* module, unsigned id, char* buf, int size) {
    return Manager::Instance()->loadDefaultStringA(module, id, buf, size);
}

int loadStdStringW(const wchar_t* module, unsigned id, std::wstring& out) {
    return Manager::Instance()->loadStdStringW(module, id, out);
}

int loadStdStringA(const wchar_t* module, unsigned id, std::string& out) {
    return Manager::Instance()->loadStdStringA(module, id, out);
}

std::wstring loadStdStringW(const wchar_t* module, unsigned id) {
    std::wstring text;
    Manager::Instance()->loadStdStringW(module, id, text);
    return text;
}

std::wstring loadDefaultStdStringW(const wchar_t* module, unsigned id) {
    std::wstring text;
    Manager::Instance()->loadDefaultStdStringW(module, id, text);
    return text;
}

std::string loadStdStringA(const wchar_t* module, unsigned id) {
    std::string text;
    Manager::Instance()->loadStdStringA(module, id, text);
    return text;
}

std::string loadDefaultStdStringA(const wchar_t* module, unsigned id) {
    std::string text;
    Manager::Instance()->loadDefaultStdStringA(module, id, text);
    return text;
}

HRESULT loadBString(const wchar_t* module, unsigned id, BSTR* out) {
    return Manager::Instance()->loadBString(module, id, out);
}

HRESULT loadDefaultBString(const wchar_t* module, unsigned id, BSTR* out) {
    return Manager::Instance()->loadDefaultBString(module, id, out);
}

HANDLE loadImage(const wchar_t* module, const wchar_t* name, unsigned type, int cx, int cy,
                 unsigned flags) {
    return Manager::Instance()->loadImage(module, name, type, cx, cy, flags);
}

HICON loadImageIcon(const wchar_t* module, const wchar_t* name, int cx, int cy, unsigned flags) {
    return Manager::Instance()->loadImageIcon(module, name, cx, cy, flags);
}

HICON loadImageCursor(const wchar_t* module, const wchar_t* name, int cx, int cy, unsigned flags) {
    // Compatibility: the only function that checks for a manager. Window procedures set their
    // cursors even after the last Term().
    Manager* const manager = Manager::Instance();
    return manager ? manager->loadImageCursor(module, name, cx, cy, flags) : nullptr;
}

HBITMAP loadImageBitmap(const wchar_t* module, const wchar_t* name, int cx, int cy,
                        unsigned flags) {
    return Manager::Instance()->loadImageBitmap(module, name, cx, cy, flags);
}

HMENU loadMenu(const wchar_t* module, const wchar_t* name) {
    return Manager::Instance()->loadMenu(module, name);
}

HRESULT loadXMLDocumentFromResource(const wchar_t* module, unsigned short id,
                                    IXMLDOMDocument2*& doc) {
    return Manager::Instance()->loadXMLDocumentFromResource(module, id, doc);
}

HRESULT loadXML6DocumentFromResource(const wchar_t* module, unsigned short id,
                                     IXMLDOMDocument2*& doc) {
    return Manager::Instance()->loadXML6DocumentFromResource(module, id, doc);
}

HRESULT loadHTMLDocumentFromResource(const wchar_t* module, unsigned short id, std::string& out) {
    return Manager::Instance()->loadHTMLDocumentFromResource(module, id, out);
}

HRESULT getLocalizedNodeValue(IXMLDOMNode* node, const wchar_t* const name, wchar_t** value) {
    return Manager::Instance()->getLocalizedNodeValue(node, name, value);
}

namespace detail {

// An exception skips va_end. This is harmless on Windows, where a va_list is a plain pointer and
// va_end does nothing.

int UNSAFE_loadStringFormatW(const wchar_t* module, unsigned id, wchar_t* buf, int size, ...) {
    va_list args;
    va_start(args, size);
    const int count = Manager::Instance()->loadStringFormatW(module, id, buf, size, args);
    va_end(args);
    return count;
}

std::wstring UNSAFE_loadStdStringFormatW(const wchar_t* module, unsigned id, ...) {
    std::wstring text;
    va_list args;
    va_start(args, id);
    Manager::Instance()->loadStdStringFormatW(module, id, text, args);
    va_end(args);
    return text;
}

std::wstring UNSAFE_loadDefaultStdStringFormatW(const wchar_t* module, unsigned id, ...) {
    std::wstring text;
    va_list args;
    va_start(args, id);
    Manager::Instance()->loadDefaultStdStringFormatW(module, id, text, args);
    va_end(args);
    return text;
}

std::string UNSAFE_loadStdStringFormatA(const wchar_t* module, unsigned id, ...) {
    std::string text;
    va_list args;
    va_start(args, id);
    Manager::Instance()->loadStdStringFormatA(module, id, text, args);
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
        // This function always comes from the C runtime: MinGW's own formatters take "%s" for
        // narrow text. With _TRUNCATE it returns -1 for a text that does not fit, and does not call
        // the invalid-parameter handler.
        count =
            ::_vsnwprintf_s(buf, static_cast<std::size_t>(size), _TRUNCATE, pattern.c_str(), args);
        va_end(args);
    }
    // Compatibility: the terminator is written even for a size of 0. Clients that pass this size
    // have a buffer of one character.
    if (count <= 0) buf[0] = L'\0';
    return count;
}

}  // namespace detail

}  // namespace i18nres
