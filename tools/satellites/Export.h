#pragma once

#include <optional>
#include <string>

namespace satellites {

/// Creates a PO file from the strings of a module. Without a culture, the PO file is a template
/// (POT). With a culture, the PO file contains the translations from the satellite for that
/// culture, if the satellite exists. If the structure of a menu or dialog in the satellite differs
/// from that in the module, its translations are marked as fuzzy.
/// @param folder  The folder of the satellite, with a trailing backslash.
/// @throws Failure if the module or the satellite cannot be read.
std::string exportPo(const std::wstring& modulePath, const std::optional<std::wstring>& culture,
                     const std::wstring& folder);

/// Represents an embedded NUL in the strings of a PO file, which cannot contain the NUL itself.
/// Windows programs use embedded NULs to separate the parts of a file filter.
inline constexpr wchar_t kTerminatorSymbol = L'\u2400';

}  // namespace satellites
