#include <utility>

#include "i18nres/Manager.h"
#include "i18nres/Satellites.h"
#include "i18nsys/i18nsys.h"
#include "platform/BoundedCopy.h"
#include "platform/CriticalSectionLock.h"

namespace i18nres {

namespace {

// MUI_LANGUAGE_NAME: the list holds culture tags. Headers for systems before Vista lack the name.
constexpr unsigned long kLanguageNames = 8;

std::wstring languageOf(const std::wstring& culture) {
    return culture.substr(0, culture.find(L'-'));
}

bool copyTag(const std::wstring& tag, wchar_t* buf, int size) noexcept {
    if (size < 0 || static_cast<std::size_t>(size) <= tag.size()) return false;
    return platform::copyWhole(buf, static_cast<std::size_t>(size), tag);
}

void appendNew(std::list<std::wstring>& tags, const std::wstring& tag) {
    if (tag.empty()) return;
    for (const std::wstring& earlier : tags) {
        if (earlier == tag) return;
    }
    tags.push_back(tag);
}

}  // namespace

bool Manager::setCulture(const wchar_t* culture) {
    if (!culture || !*culture) {
        {
            const platform::CriticalSectionLock lock(m_lock.m_sec);
            for (auto& [name, record] : m_locales) freeSatellites(*record);
            m_culture.clear();
        }
        synchronizeProcessUICulture();
        return false;
    }

    const bool valid = i18nsys::isRfc1766StringValid(culture);
    if (valid) {
        std::wstring tag(culture);
        const platform::CriticalSectionLock lock(m_lock.m_sec);
        if (m_culture != tag) {
            for (auto& [name, record] : m_locales) freeSatellites(*record);
        }
        m_culture = std::move(tag);
    }
    // Outside the lock and whatever the outcome: the first call, valid or not, sets the languages.
    synchronizeProcessUICulture();
    return valid;
}

bool Manager::setDefaultCulture(const wchar_t* culture) {
    const bool valid = culture && i18nsys::isRfc1766StringValid(culture);
    if (valid) {
        std::wstring tag(culture);
        const platform::CriticalSectionLock lock(m_lock.m_sec);
        if (m_defaultCulture != tag) {
            for (auto& [name, record] : m_locales) freeSatellites(*record);
        }
        m_defaultCulture = std::move(tag);
    }
    synchronizeProcessUICulture();
    return valid;
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
    appendNew(out, languageOf(m_culture));
    appendNew(out, m_defaultCulture);
    appendNew(out, languageOf(m_defaultCulture));
    return !out.empty();
}

void Manager::synchronizeProcessUICulture() {
    const platform::CriticalSectionLock lock(m_lock.m_sec);
    const std::wstring& effective = m_culture.empty() ? m_defaultCulture : m_culture;
    if (effective == m_syncedUICulture) return;

    std::wstring list = effective;
    list.push_back(L'\0');  // ends the one entry; the string's own terminator ends the list
    m_syncedUICulture = effective;
    // Neither the answer nor the count matters: what the system refuses once, it refuses again.
    unsigned long count = 0;
    i18nsys::setPreferredUILanguages(kLanguageNames, list.c_str(), &count);
}

}  // namespace i18nres
