#pragma once

#include <windows.h>

#include <cstddef>
#include <optional>

namespace i18nres {

/// Refers to a resource in the memory of a loaded library. The `data` pointer is valid as long as
/// the library stays loaded.
struct ResourceBlock {
    HINSTANCE library = nullptr;
    const std::byte* data = nullptr;  ///< Null if the system cannot lock the resource.
    DWORD size = 0;                   ///< Size in bytes, as stated in the file.

    /// Finds a resource in one library with the system's resource functions. On Windows, but not
    /// under Wine, the resource may be in the .mui file of the library. Returns std::nullopt if the
    /// resource does not exist or cannot be loaded.
    static std::optional<ResourceBlock> find(HINSTANCE library, const wchar_t* name,
                                             const wchar_t* type) noexcept;

    /// Returns true if the resource is entirely within the image of the library or, if the library
    /// has a .mui file, entirely within one mapped file. Call this function before you use the
    /// data, because the system does not check its position and size.
    bool hasValidBounds() const noexcept;
};

}  // namespace i18nres
