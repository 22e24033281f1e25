#pragma once
// Calls the protected methods of the manager, as a derived class can. No object of this class is
// ever created: the methods are called on the manager through pointers to members.
#include "i18nres/Manager.h"

class ProtectedManager : public i18nres::Manager {
public:
    static const LocaleBase* record(const wchar_t* module, bool forDefault = false) {
        return (Instance()->*(&ProtectedManager::getLocale))(module, forDefault);
    }
    static HINSTANCE satellite(const std::wstring& modulePath, const std::wstring& tag) {
        return (Instance()->*(&ProtectedManager::loadLibrary))(modulePath, tag);
    }
    static void freeAll() { (Instance()->*(&ProtectedManager::freeLocales))(); }
    static bool appendCultures(std::list<std::wstring>& out) {
        return (Instance()->*(&ProtectedManager::_getNormalizeCultureList))(out);
    }

    using Text = void (Manager::*)(std::wstring&) const;
    static std::wstring unlockedCulture() { return text(&ProtectedManager::_getCulture); }
    static std::wstring unlockedDefaultCulture() {
        return text(&ProtectedManager::_getDefaultCulture);
    }
    static std::wstring unlockedLanguage() { return text(&ProtectedManager::_getLanguage); }
    static std::wstring unlockedDefaultLanguage() {
        return text(&ProtectedManager::_getDefaultLanguage);
    }

private:
    static std::wstring text(Text method) {
        std::wstring out = L"before";
        (Instance()->*method)(out);
        return out;
    }
};
