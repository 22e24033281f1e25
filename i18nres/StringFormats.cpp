#include <windows.h>

#include <algorithm>
#include <cstdarg>
#include <string>

#include "i18nres/Manager.h"
#include "i18nres/StringDecorations.h"
#include "i18nstr/i18nstr.h"
#include "platform/UniqueHandle.h"

namespace i18nres {

namespace {

/// Loads a string as a format string for FormatMessageW. The result is empty if the string is
/// missing.
std::wstring loadPattern(const Manager& manager, bool useDefault, const wchar_t* module,
                         unsigned id) {
    std::wstring pattern;
    if (useDefault) {
        manager.loadDefaultStdStringW(module, id, pattern);
    } else {
        manager.loadStdStringW(module, id, pattern);
    }
    escapeOrigin(pattern, module, id);
    return pattern;
}

}  // namespace

int Manager::_loadStringFormatW(bool useDefault, const wchar_t* module, unsigned id, wchar_t* buf,
                                int size, va_list args) const {
    if (!buf || size < 0) return 0;
    // Compatibility: the terminator is written even for a size of 0. Clients that pass 0 provide a
    // buffer of one character.
    buf[0] = L'\0';
    const std::wstring pattern = loadPattern(*this, useDefault, module, id);
    if (pattern.empty()) return 0;

    DWORD count = 0;
    if (size > 0) {
        count = ::FormatMessageW(FORMAT_MESSAGE_FROM_STRING, pattern.c_str(), 0, 0, buf,
                                 static_cast<DWORD>(size), &args);
    }
    if (count == 0) buf[0] = L'\0';  // FormatMessageW may have written part of the text
    return std::min(static_cast<int>(count), size - 1);
}

int Manager::_loadStdStringFormatW(bool useDefault, const wchar_t* module, unsigned id,
                                   std::wstring& out, va_list args) const {
    out.clear();
    const std::wstring pattern = loadPattern(*this, useDefault, module, id);
    if (pattern.empty()) return 0;

    platform::LocalMemory text;
    const DWORD count = ::FormatMessageW(
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_STRING, pattern.c_str(), 0, 0,
        reinterpret_cast<wchar_t*>(text.receive()), 0, &args);
    if (count > 0 && text.get()) out.assign(static_cast<const wchar_t*>(text.get()), count);
    return static_cast<int>(count);
}

int Manager::loadStringFormatW(const wchar_t* module, unsigned id, wchar_t* buf, int size,
                               va_list args) const {
    return _loadStringFormatW(false, module, id, buf, size, args);
}

int Manager::loadDefaultStringFormatW(const wchar_t* module, unsigned id, wchar_t* buf, int size,
                                      va_list args) const {
    return _loadStringFormatW(true, module, id, buf, size, args);
}

int Manager::loadStdStringFormatW(const wchar_t* module, unsigned id, std::wstring& out,
                                  va_list args) const {
    return _loadStdStringFormatW(false, module, id, out, args);
}

int Manager::loadDefaultStdStringFormatW(const wchar_t* module, unsigned id, std::wstring& out,
                                         va_list args) const {
    return _loadStdStringFormatW(true, module, id, out, args);
}

int Manager::loadStdStringFormatA(const wchar_t* module, unsigned id, std::string& out,
                                  va_list args) const {
    std::wstring wide;
    const int count = _loadStdStringFormatW(false, module, id, wide, args);
    i18nstr::wide2mb(wide.c_str(), static_cast<int>(wide.size()), out);
    return count;
}

int Manager::loadDefaultStdStringFormatA(const wchar_t* module, unsigned id, std::string& out,
                                         va_list args) const {
    std::wstring wide;
    const int count = _loadStdStringFormatW(true, module, id, wide, args);
    i18nstr::wide2mb(wide.c_str(), static_cast<int>(wide.size()), out);
    return count;
}

}  // namespace i18nres
