#pragma once

#include <string>

#include <I18nResource.h>

/// The module under whose name this program's own resources are found, those in its satellites
/// workstation_fr.dll and so on included.
inline constexpr wchar_t kThisProgram[] = L"workstation.exe";

/// A string of this program in the user's language; `inserts` stand where %1, %2!d! and so on are
/// in it.
template <class... Inserts>
std::wstring text(unsigned id, Inserts... inserts) {
    if constexpr (sizeof...(inserts) == 0)
        return i18nres::loadStdStringW(kThisProgram, id);
    else
        return i18nres::detail::UNSAFE_loadStdStringFormatW(kThisProgram, id, inserts...);
}
