#pragma once

#include <windows.h>

#include <cstddef>
#include <optional>

namespace i18nres {

/// A resource as it lies in a loaded library, valid as long as that stays loaded.
struct ResourceBlock {
    HINSTANCE library;
    const std::byte* data;  ///< Null when the system cannot lock the resource.
    DWORD size;             ///< In bytes, as the library says.

    /// Finds a resource in one library; nothing when it is not there.
    static std::optional<ResourceBlock> find(HINSTANCE library, const wchar_t* name,
                                             const wchar_t* type) noexcept;

    /// Whether the resource really lies in its library. The system hands out the position and the
    /// size that stand in the file, right or wrong.
    bool liesInLibrary() const noexcept;
};

}  // namespace i18nres
