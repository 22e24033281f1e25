#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace satellites {

/// Returns the full Windows path for a Windows path or a Unix path.
/// @throws Failure if `path` is not valid.
std::wstring fullPath(const std::wstring& path);

/// The following functions return parts of a path: the folder with a trailing backslash, the file
/// name, and the file name without its extension.
std::wstring folderOf(const std::wstring& path);
std::wstring fileNameOf(const std::wstring& path);
std::wstring stemOf(const std::wstring& path);

/// Returns the file name of a module's satellite for a culture, such as charts_fr.dll for
/// charts.dll and the culture fr.
std::wstring satelliteNameOf(const std::wstring& modulePath, const std::wstring& culture);

/// Returns true if the file or folder exists.
/// @throws Failure if its existence cannot be determined, for example because access is denied.
bool exists(const std::wstring& path);

/// @throws Failure with the path of the file and the reason, if the file cannot be read.
std::vector<std::byte> readFile(const std::wstring& path);

/// Writes a file. If the file already exists, it does not change until the new contents are
/// complete.
/// @throws Failure if the file cannot be written.
void writeFile(const std::wstring& path, std::span<const std::byte> bytes);

/// Creates a new file in the folder of a target file. commit() replaces the target file with the
/// new file. If commit() is not called, the destructor deletes the new file.
class Replacement {
public:
    /// @throws Failure if the new file cannot be created.
    explicit Replacement(const std::wstring& target);
    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;
    ~Replacement();

    const std::wstring& path() const noexcept { return m_path; }
    void write(std::span<const std::byte> bytes);
    /// Replaces the target file with the new file.
    void commit();

private:
    std::wstring m_target;
    std::wstring m_path;
};

/// Returns the file names of the satellites that `folder` contains for a module, such as
/// charts_fr.dll for charts.dll. The names are sorted.
/// @throws Failure if the folder cannot be searched.
std::vector<std::wstring> satelliteNamesIn(const std::wstring& folder,
                                           const std::wstring& modulePath);

/// Returns the system's message for an error code.
std::wstring reasonOf(unsigned long error);

}  // namespace satellites
