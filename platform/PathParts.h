#pragma once

#include <string_view>

namespace platform {

/// The parts of a file path, as views of it: drive ("C:"), directory (up to the last slash of
/// either kind, slash included), name, and extension (from the last dot, dot included). Put one
/// after the other they are the path again.
///
/// The C runtime's own splitting reports too long a part as EINVAL or as ERANGE, depending on the
/// library, and needs buffers; this has one contract everywhere.
struct PathParts {
    std::wstring_view drive;
    std::wstring_view directory;
    std::wstring_view name;
    std::wstring_view extension;

    /// Name and extension.
    std::wstring_view fileName() const noexcept;

    /// Whether every part is shorter than MAX_PATH, so that it would fit such a buffer.
    bool fit() const noexcept;
};

/// Never fails: a path without any of the marks is all name. `path` must outlive the result.
PathParts splitPath(std::wstring_view path) noexcept;

}  // namespace platform
