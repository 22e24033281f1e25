#pragma once

#include <string>
#include <vector>

#include "tools/satellites/ResourceFile.h"

namespace satellites {

/// A resource for a satellite.
struct NewResource {
    ResourceId type;
    ResourceId name;
    std::vector<std::byte> data;
};

/// Writes a satellite: a DLL without code, for the processor of its module, with the given
/// resources in one language. An existing file of that name does not change until the new one is
/// complete.
/// @throws Failure.
void writeSatellite(const std::wstring& path, WORD machine, WORD language,
                    const std::vector<NewResource>& resources);

/// The language of a culture for resources and versions: neutral for a culture without a language
/// identifier.
WORD languageOf(const std::wstring& culture);

}  // namespace satellites
