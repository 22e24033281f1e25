#pragma once

#include <windows.h>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "tools/satellites/ResourceFile.h"

namespace satellites {

/// A version that consists of four 16-bit numbers.
struct Version {
    unsigned long long number = 0;

    bool operator==(const Version&) const = default;
    /// Returns the version in the form "1.2.3.4".
    std::wstring text() const;
};

/// Returns the file version from the VERSIONINFO resource of a file, or std::nullopt if the file
/// has no valid VERSIONINFO resource.
std::optional<Version> fileVersionOf(const ResourceFile& file);

/// Creates a VERSIONINFO resource for a satellite.
std::vector<std::byte> makeVersionInfo(const Version& version, WORD language,
                                       const std::wstring& fileName,
                                       const std::wstring& description);

}  // namespace satellites
