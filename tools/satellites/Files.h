#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace satellites {

/// Returns the full Windows path of a file that is named by a Windows or a Unix path.
/// @throws Failure for a name that a file cannot have.
std::wstring fullPath(const std::wstring& path);

/// The parts of a path: the folder with the backslash at its end, the name, the extension with ".".
std::wstring folderOf(const std::wstring& path);
std::wstring fileNameOf(const std::wstring& path);
std::wstring stemOf(const std::wstring& path);

/// The file name of the satellite of a module for a culture: charts_fr.dll of charts.dll.
std::wstring satelliteNameOf(const std::wstring& modulePath, const std::wstring& culture);

bool exists(const std::wstring& path);

/// @throws Failure that names the file and the system's reason.
std::vector<std::byte> readFile(const std::wstring& path);

/// Writes a complete file: an existing file of that name does not change until the new one is
/// complete.
/// @throws Failure.
void writeFile(const std::wstring& path, std::span<const std::byte> bytes);

/// A new file in the folder of its target, which it replaces when it is complete. Deleted
/// otherwise.
class Replacement {
public:
    /// @throws Failure when the file cannot be created.
    explicit Replacement(const std::wstring& target);
    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;
    ~Replacement();

    const std::wstring& path() const noexcept { return m_path; }
    void write(std::span<const std::byte> bytes);
    /// Replaces the target by the new file.
    void commit();

private:
    std::wstring m_target;
    std::wstring m_path;
};

/// Names of the files in a folder that match a pattern such as "charts_*.dll", sorted.
std::vector<std::wstring> filesLike(const std::wstring& folder, const std::wstring& pattern);

/// The system's text for an error code.
std::wstring reasonOf(unsigned long error);

}  // namespace satellites
