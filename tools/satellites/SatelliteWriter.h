#pragma once

#include <string>
#include <vector>

#include "tools/satellites/ResourceFile.h"

namespace satellites {

/// A resource to be put into a satellite.
struct NewResource {
    ResourceId type;
    ResourceId name;
    std::vector<std::byte> data;
};

/// Writes a satellite: a DLL without code, for the processor of its module, with the given
/// resources in one language. A file of that name stays as it is until the new one is complete.
/// @throws Failure.
void writeSatellite(const std::wstring& path, WORD machine, WORD language,
                    const std::vector<NewResource>& resources);

/// The language of a culture for resources and versions: neutral for one that the system does not
/// number.
WORD languageOf(const std::wstring& culture);

}  // namespace satellites
