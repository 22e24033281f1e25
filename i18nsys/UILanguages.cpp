#include <windows.h>

#include <commctrl.h>

#include <cwchar>

#include "i18nsys/i18nsys.h"
#include "platform/ComError.h"
#include "platform/ModuleHandle.h"

namespace i18nsys {
namespace {

using SetPreferredUILanguages = BOOL(WINAPI*)(DWORD, PCZZWSTR, PULONG);

/// Finds the locale identifier for the first tag in a list.
bool findLcidOfTag(const wchar_t* languages, LCID& lcid) noexcept {
    try {
        return SUCCEEDED(getLcidFromRfc1766(languages, lcid));
    } catch (const _com_error&) {
        return false;  // out of memory: reported like every other failure
    }
}

/// Sets the language of the common controls on a system that does not support preferred user
/// interface languages.
bool setCommonControlsLanguage(unsigned long flags, const wchar_t* languages) noexcept {
    LCID lcid = 0;
    if (flags & MUI_LANGUAGE_ID) {
        // Compatibility: callers pass a decimal identifier ("1041"), although the identifiers in a
        // list of preferred languages are hexadecimal.
        lcid = static_cast<LCID>(std::wcstol(languages, nullptr, 10));
        if (!::IsValidLocale(lcid, LCID_SUPPORTED)) return false;
    } else if (flags & MUI_LANGUAGE_NAME) {
        if (!findLcidOfTag(languages, lcid)) return false;
    } else {
        return false;
    }
    ::InitMUILanguage(LANGIDFROMLCID(lcid));
    return true;
}

}  // namespace

int setPreferredUILanguages(unsigned long flags, const wchar_t* languages, unsigned long* count) {
    if (!languages) return FALSE;
    platform::ModuleHandle kernel;
    if (!::GetModuleHandleExW(0, L"kernel32.dll", kernel.receive())) return FALSE;

    // Find the functions at run time. Windows Vista has only SetThreadPreferredUILanguages, and
    // earlier versions have neither function.
    auto setLanguages = platform::findFunction<SetPreferredUILanguages>(
        kernel.get(), "SetProcessPreferredUILanguages");
    if (!setLanguages)
        setLanguages = platform::findFunction<SetPreferredUILanguages>(
            kernel.get(), "SetThreadPreferredUILanguages");
    if (setLanguages) return setLanguages(flags, languages, count);
    return setCommonControlsLanguage(flags, languages);
}

}  // namespace i18nsys
