#pragma once

#include <string_view>

namespace platform {

/// The parts of a file path, as views of the path. A drive is one character and a colon at the
/// beginning of the path, such as "C:".
///
/// The directory ends with the last slash or backslash of the path. The extension starts with the
/// last dot after the directory. The name is the part between the directory and the extension. The
/// path is the concatenation of drive, directory, name and extension.
///
/// splitPath() does not call _wsplitpath_s, because that function copies the parts to buffers and
/// fails if a buffer is too small.
struct PathParts {
    std::wstring_view drive;
    std::wstring_view directory;
    std::wstring_view name;
    std::wstring_view extension;

    /// Returns the name and the extension as one view.
    std::wstring_view fileName() const noexcept;

    /// Returns true if every part is shorter than MAX_PATH characters, so that each part and a
    /// terminator fit into a buffer of MAX_PATH characters.
    bool fitIntoMaxPath() const noexcept;
};

/// Splits a path into its parts. Any part may be empty. The function never fails. `path` must
/// outlive the result.
PathParts splitPath(std::wstring_view path) noexcept;

}  // namespace platform
