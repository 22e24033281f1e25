#pragma once

#include <string_view>

namespace platform {

/// The parts of a file path, as views of it: drive ("C:"), directory (up to the last slash or
/// backslash, which is included), name, and extension (from the last dot, which is included).
/// Joined in this order, they are the path.
///
/// _wsplitpath_s reports a part that is too long as EINVAL or as ERANGE, depending on the C runtime
/// library, and needs buffers. splitPath() behaves alike everywhere.
struct PathParts {
    std::wstring_view drive;
    std::wstring_view directory;
    std::wstring_view name;
    std::wstring_view extension;

    /// Name and extension.
    std::wstring_view fileName() const noexcept;

    /// Whether every part is shorter than MAX_PATH, so that it would fit into such a buffer.
    bool fit() const noexcept;
};

/// Never fails: a path without drive, slash and dot consists of the name. `path` must outlive the
/// result.
PathParts splitPath(std::wstring_view path) noexcept;

}  // namespace platform
