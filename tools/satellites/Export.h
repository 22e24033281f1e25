#pragma once

#include <optional>
#include <string>

namespace satellites {

/// Returns the contents of a PO file with the strings of a module. Without a culture, the PO file
/// is a template (POT). With a culture, the PO file contains the translations from the satellite
/// for that culture, if the satellite exists. If a menu or dialog has different structures in the
/// satellite and in the module, the translations of its strings are marked as fuzzy.
/// @param folder  The folder of the satellite, with a trailing backslash.
/// @throws Failure if the module or the satellite cannot be read.
std::string exportPo(const std::wstring& modulePath, const std::optional<std::wstring>& culture,
                     const std::wstring& folder);

}  // namespace satellites
