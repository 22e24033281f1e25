#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "i18nres/CultureTag.h"
#include "i18nres/Manager.h"
#include "i18nres/Satellites.h"
#include "i18nsys/i18nsys.h"
#include "platform/BoundedCopy.h"
#include "platform/CriticalSectionLock.h"
#include "platform/ModuleHandle.h"

namespace i18nres {

namespace {

// The value of MUI_LANGUAGE_NAME. With this flag, SetProcessPreferredUILanguages expects culture
// tags instead of language identifiers. The Windows headers define this macro only for programs
// that target Windows Vista or later.
constexpr unsigned long kLanguageNames = 8;

bool copyTag(const std::wstring& tag, wchar_t* buf, int size) noexcept {
    if (size < 0 || static_cast<std::size_t>(size) <= tag.size()) return false;
    return platform::copyWhole(buf, static_cast<std::size_t>(size), tag);
}

/// Sets a culture tag and frees all satellites.
void setTagAndFreeSatellites(std::wstring& tag, std::wstring value, ModuleRecords& records) {
    // The satellites are freed when the function returns, after the tag is set. If code in a
    // satellite looks up a string while the satellite is being freed, the lookup uses the new
    // culture.
    const std::vector<platform::ModuleHandle> freed = takeSatellites(records);
    tag = std::move(value);
}

void appendIfMissing(std::list<std::wstring>& tags, const std::wstring& tag) {
    if (!tag.empty() && std::ranges::find(tags, tag) == tags.end()) tags.push_back(tag);
}

}  // namespace

bool Manager::setCulture(const wchar_t* culture) {
    const bool isRemoval = !culture || !*culture;
    const bool isValid = !isRemoval && i18nsys::isRfc1766StringValid(culture);
    if (isRemoval || isValid) {
        std::wstring tag(isRemoval ? L"" : culture);
        const platform::CriticalSectionLock lock(m_lock.m_sec);
        if (isRemoval || m_culture != tag)
            setTagAndFreeSatellites(m_culture, std::move(tag), m_locales);
    }
    // synchronizeProcessUICulture() is called even if the tag is not valid, because the language of
    // the process might not have been set yet.
    synchronizeProcessUICulture();
    return isValid;
}

bool Manager::setDefaultCulture(const wchar_t* culture) {
    const bool isValid = culture && i18nsys::isRfc1766StringValid(culture);
    if (isValid) {
        std::wstring tag(culture);
        const platform::CriticalSectionLock lock(m_lock.m_sec);
        if (m_defaultCulture != tag)
            setTagAndFreeSatellites(m_defaultCulture, std::move(tag), m_locales);
    }
    synchronizeProcessUICulture();
    return isValid;
}

bool Manager::getCulture(wchar_t* buf, int size) const {
    const platform::CriticalSectionLock lock(m_lock.m_sec);
    return copyTag(m_culture, buf, size);
}

void Manager::getCulture(std::wstring& out) const {
    const platform::CriticalSectionLock lock(m_lock.m_sec);
    _getCulture(out);
}

bool Manager::getDefaultCulture(wchar_t* buf, int size) const {
    const platform::CriticalSectionLock lock(m_lock.m_sec);
    return copyTag(m_defaultCulture, buf, size);
}

void Manager::getDefaultCulture(std::wstring& out) const {
    const platform::CriticalSectionLock lock(m_lock.m_sec);
    _getDefaultCulture(out);
}

void Manager::getLanguage(std::wstring& out) const {
    const platform::CriticalSectionLock lock(m_lock.m_sec);
    _getLanguage(out);
}

void Manager::getDefaultLanguage(std::wstring& out) const {
    const platform::CriticalSectionLock lock(m_lock.m_sec);
    _getDefaultLanguage(out);
}

void Manager::_getCulture(std::wstring& out) const { out = m_culture; }

void Manager::_getDefaultCulture(std::wstring& out) const { out = m_defaultCulture; }

void Manager::_getLanguage(std::wstring& out) const { out = languageOf(m_culture); }

void Manager::_getDefaultLanguage(std::wstring& out) const { out = languageOf(m_defaultCulture); }

bool Manager::_getNormalizeCultureList(std::list<std::wstring>& out) const {
    if (!m_culture.empty()) out.push_back(m_culture);
    appendIfMissing(out, languageOf(m_culture));
    appendIfMissing(out, m_defaultCulture);
    appendIfMissing(out, languageOf(m_defaultCulture));
    return !out.empty();
}

void Manager::synchronizeProcessUICulture() {
    const platform::CriticalSectionLock lock(m_lock.m_sec);
    const std::wstring& effective = m_culture.empty() ? m_defaultCulture : m_culture;
    if (effective == m_syncedUICulture) return;

    std::wstring list = effective;
    list.push_back(L'\0');  // terminates the only tag; the string's own terminator ends the list
    m_syncedUICulture = effective;
    // Failures are ignored: if the system does not accept the tag, another attempt would also fail.
    unsigned long count = 0;
    i18nsys::setPreferredUILanguages(kLanguageNames, list.c_str(), &count);
}

}  // namespace i18nres
