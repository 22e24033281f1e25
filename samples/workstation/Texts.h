#pragma once

#include <string>

#include <I18nResource.h>

/// The module name for the resources of this program. The resources are in the program and in its
/// satellites, for example workstation_fr.dll.
inline constexpr wchar_t kThisProgram[] = L"workstation.exe";

/// Loads a string of this program in the user's language. `inserts` replace %1, %2!d! and so on.
template <class... Inserts>
std::wstring text(unsigned id, Inserts... inserts) {
    if constexpr (sizeof...(inserts) == 0)
        return i18nres::loadStdStringW(kThisProgram, id);
    else
        return i18nres::detail::UNSAFE_loadStdStringFormatW(kThisProgram, id, inserts...);
}
