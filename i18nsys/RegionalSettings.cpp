#include <windows.h>

#include <cwchar>
#include <iterator>

#include "i18nsys/i18nsys.h"
#include "platform/BoundedCopy.h"

namespace i18nsys {
namespace {

constexpr int kCodeCharacters = 32;

bool getCulture(LCID locale, wchar_t* buffer, int size) noexcept {
    if (!buffer || size < 1) return false;
    // Compatibility: the results of GetLocaleInfoW are not checked. If the system does not return
    // the language code, the tag contains only the hyphen and the region code. If the system does
    // not return the region code, the tag contains only the language code and the hyphen.
    wchar_t language[kCodeCharacters] = {};
    wchar_t country[kCodeCharacters] = {};
    ::GetLocaleInfoW(locale, LOCALE_SISO639LANGNAME, language, kCodeCharacters);
    ::CharLowerBuffW(language, kCodeCharacters);
    ::GetLocaleInfoW(locale, LOCALE_SISO3166CTRYNAME, country, kCodeCharacters);
    ::CharUpperBuffW(country, kCodeCharacters);

    wchar_t tag[2 * kCodeCharacters];  // room for the two codes, the hyphen and a terminator
    std::swprintf(tag, std::size(tag), L"%ls-%ls", language, country);
    return platform::copyWhole(buffer, static_cast<std::size_t>(size), tag);
}

bool getLanguage(LCID locale, wchar_t* buffer, int size) noexcept {
    if (!buffer || size < 1) return false;
    if (::GetLocaleInfoW(locale, LOCALE_SISO639LANGNAME, buffer, size) == 0) return false;
    // Compatibility: the whole buffer is converted to lowercase, including the characters after the
    // terminator.
    ::CharLowerBuffW(buffer, static_cast<DWORD>(size));
    return true;
}

}  // namespace

bool getSystemCulture(wchar_t* buffer, int size) {
    return getCulture(LOCALE_SYSTEM_DEFAULT, buffer, size);
}

bool getUserCulture(wchar_t* buffer, int size) {
    return getCulture(LOCALE_USER_DEFAULT, buffer, size);
}

bool getSystemLanguage(wchar_t* buffer, int size) {
    return getLanguage(LOCALE_SYSTEM_DEFAULT, buffer, size);
}

bool getUserLanguage(wchar_t* buffer, int size) {
    return getLanguage(LOCALE_USER_DEFAULT, buffer, size);
}

}  // namespace i18nsys
