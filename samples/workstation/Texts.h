#pragma once

#include <string>

#include <I18nResource.h>

/// The name of the module for this program's own resources, including those in its satellites such
/// as workstation_fr.dll.
inline constexpr wchar_t kThisProgram[] = L"workstation.exe";

/// A string of this program in the user's language, with `inserts` for its %1, %2!d! and so on.
template <class... Inserts>
std::wstring text(unsigned id, Inserts... inserts) {
    if constexpr (sizeof...(inserts) == 0)
        return i18nres::loadStdStringW(kThisProgram, id);
    else
        return i18nres::detail::UNSAFE_loadStdStringFormatW(kThisProgram, id, inserts...);
}
