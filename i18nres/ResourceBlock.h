#pragma once

#include <windows.h>

#include <cstddef>
#include <optional>

namespace i18nres {

/// A resource of a loaded library, in place. It is valid as long as the library stays loaded.
struct ResourceBlock {
    HINSTANCE library = nullptr;
    const std::byte* data = nullptr;  ///< Null when the system cannot lock the resource.
    DWORD size = 0;                   ///< In bytes, as stated in the file.

    /// Finds a resource of one library as the system does. On Windows, a resource of a library that
    /// has a .mui file may come from there. Returns nothing when the resource does not exist.
    static std::optional<ResourceBlock> find(HINSTANCE library, const wchar_t* name,
                                             const wchar_t* type) noexcept;

    /// Whether the whole resource lies in the image of the library or, when the library has a .mui
    /// file, in one mapped file. The file states the position and the size, and the system returns
    /// them without checking them.
    bool isInItsFile() const noexcept;
};

}  // namespace i18nres
