#include "samples/workstation/Localization.h"

#include <windows.h>

#include <I18nResource.h>

namespace {

constexpr wchar_t kStringOrigin[] = L"ZEPH_RES_STRING_ORIGIN";
constexpr wchar_t kFallbackMarks[] = L"ORVEX_LOCAL_SIMULATION";

bool isDefined(const wchar_t* variable) {
    return ::GetEnvironmentVariableW(variable, nullptr, 0) > 0;
}

void setVariable(const wchar_t* variable, bool on) {
    ::SetEnvironmentVariableW(variable, on ? L"1" : nullptr);
}

}  // namespace

Localization::Localization() { createManager(); }

Localization::~Localization() { i18nres_Term(); }

void Localization::createManager() {
    i18nres_Init();
    // All satellites are in the folders of their modules. Exclude the current folder and PATH from
    // the search.
    i18nres::Manager::Instance()->useResourcePathOnly(true);
    if (!m_culture.empty()) i18nres::Manager::Instance()->setCulture(m_culture.c_str());
}

void Localization::refresh() {
    i18nres_Term();
    createManager();
}

std::wstring Localization::defaultCulture() const {
    std::wstring tag;
    i18nres::Manager::Instance()->getDefaultCulture(tag);
    return tag;
}

bool Localization::setCulture(const std::wstring& tag) {
    if (!i18nres::Manager::Instance()->setCulture(tag.c_str()) && !tag.empty()) return false;
    m_culture = tag;
    return true;
}

bool Localization::showsOrigin() const { return isDefined(kStringOrigin); }

void Localization::showOrigin(bool on) {
    setVariable(kStringOrigin, on);
    refresh();
}

bool Localization::marksFallbacks() const { return isDefined(kFallbackMarks); }

void Localization::markFallbacks(bool on) {
    setVariable(kFallbackMarks, on);
    refresh();
}
