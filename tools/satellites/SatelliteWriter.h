#pragma once

#include <string>
#include <vector>

#include "tools/satellites/ResourceFile.h"

namespace satellites {

/// A resource that is written to a satellite.
struct NewResource {
    ResourceId type;
    ResourceId name;
    std::vector<std::byte> data;
};

/// Writes a satellite: a DLL that has no code and contains the given resources in one language.
/// `machine` is the processor type of the module. If the file already exists, it does not change
/// until the new contents are complete.
/// @throws Failure if the satellite cannot be written.
void writeSatellite(const std::wstring& path, WORD machine, WORD language,
                    const std::vector<NewResource>& resources);

/// Returns the language identifier of a culture, for resources and version information. If the
/// culture has no language identifier, the result is the neutral language.
WORD languageOf(const std::wstring& culture);

}  // namespace satellites
