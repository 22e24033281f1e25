#pragma once

#include <windows.h>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "tools/satellites/ResourceFile.h"

namespace satellites {

/// A version of four numbers of 16 bits.
struct Version {
    unsigned long long number = 0;

    bool operator==(const Version&) const = default;
    /// As "1.2.3.4".
    std::wstring text() const;
};

/// The version that the VERSIONINFO resource of a file states; nothing without one.
std::optional<Version> fileVersionOf(const ResourceFile& file);

/// Makes a VERSIONINFO resource for a resource library.
std::vector<std::byte> makeVersionInfo(const Version& version, WORD language,
                                       const std::wstring& fileName,
                                       const std::wstring& description);

}  // namespace satellites
