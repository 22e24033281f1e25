#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/satellites/Catalogue.h"
#include "tools/satellites/ResourceFile.h"
#include "tools/satellites/VersionInfo.h"

namespace satellites {

enum class Severity { error, warning, advice };

/// Returns the severity of findings with the given code.
Severity severityOf(std::wstring_view code) noexcept;

/// A problem with a satellite.
struct Finding {
    const wchar_t* code;    ///< For example, "missing-string".
    std::wstring resource;  ///< "STRING", "MENU" and so on; "FILE" for the file as a whole.
    ResourceId id;          ///< Id of the string or resource; 0 for the file as a whole.
    std::wstring entry;     ///< Entry, such as "0/2" or "1002"; empty for the whole resource.
    std::wstring message;

    Severity severity() const noexcept { return severityOf(code); }
};

struct StringCounts {
    std::size_t total = 0;       ///< Number of non-empty strings in the module.
    std::size_t translated = 0;  ///< Number of strings whose text differs from the module's text.
    std::size_t identical = 0;   ///< Number of strings whose text is the same as in the module.
    std::size_t missing = 0;     ///< Number of strings that the satellite does not contain.
    std::size_t extra = 0;       ///< Number of strings that only the satellite contains.
};

struct SatelliteReport {
    std::wstring file;
    std::wstring culture;
    StringCounts strings;
    std::vector<Finding> findings;  ///< Sorted by resource, id and code.
};

/// Compares satellites with a module. The strings and the version of the module are read only once.
class CheckedModule {
public:
    /// @param module  Must outlive this object. See readModule().
    explicit CheckedModule(const ResourceFile& module);

    /// Compares a satellite with the module.
    /// @param growth  Optional. A string is reported if it is longer than the module's string by
    ///                more than this percentage.
    SatelliteReport check(const std::wstring& path, const std::wstring& culture,
                          std::optional<unsigned> growth) const;

private:
    const ResourceFile& m_file;
    StringTable m_strings;
    std::optional<Version> m_version;
};

}  // namespace satellites
