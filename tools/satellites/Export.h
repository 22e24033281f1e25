#pragma once

#include <optional>
#include <string>

namespace satellites {

/// Makes a PO file of the texts of a module: a template (POT) without a culture, otherwise with the
/// translations that the culture's satellite has, if there is one. The translations of a menu or
/// dialog whose structure differs from the module's are marked as fuzzy.
/// @param folder  Of the satellite, with the backslash at its end.
/// @throws Failure.
std::string exportPo(const std::wstring& modulePath, const std::optional<std::wstring>& culture,
                     const std::wstring& folder);

/// Replaces the terminator character in the texts of a PO file, which cannot contain one. Windows
/// programs use it between the parts of a file filter.
inline constexpr wchar_t kTerminatorSymbol = L'\u2400';

}  // namespace satellites
