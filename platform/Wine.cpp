#include "platform/Wine.h"

#include <cwchar>

namespace platform::wine {

bool isRunning() noexcept {
    // Wine's own documented mark: its ntdll exports the version of Wine.
    static const bool running =
        ::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
    return running;
}

HRESULT completeLcidFromRfc1766(HRESULT answer, HMODULE service, const wchar_t* tag,
                                unsigned long& lcid) noexcept {
    if (answer != E_FAIL || !isRunning() || service != ::GetModuleHandleW(L"mlang.dll"))
        return answer;
    // A name with "_" names a sort order. The empty name is the invariant locale's.
    if (*tag == L'\0' || std::wcschr(tag, L'_')) return answer;

    // Without the flag "zh-Hans" would give the identifier of "zh-CN".
    const LCID found = ::LocaleNameToLCID(tag, LOCALE_ALLOW_NEUTRAL_NAMES);
    if (found == 0 || found == LOCALE_CUSTOM_UNSPECIFIED) return answer;
    // The way back shows whether the name was taken as it stands.
    wchar_t name[LOCALE_NAME_MAX_LENGTH];
    if (::LCIDToLocaleName(found, name, LOCALE_NAME_MAX_LENGTH, LOCALE_ALLOW_NEUTRAL_NAMES) == 0 ||
        ::CompareStringOrdinal(tag, -1, name, -1, TRUE) != CSTR_EQUAL)
        return answer;

    lcid = found;
    return S_OK;
}

}  // namespace platform::wine
