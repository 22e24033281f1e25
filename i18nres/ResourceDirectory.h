#pragma once

#include <windows.h>

#include <cstddef>
#include <optional>
#include <span>
#include <string_view>

#include "i18nres/ResourceBlock.h"

namespace i18nres {

/// The resource directory of a library that is loaded as code, read where it lies. The system reads
/// the same, but finds out first which languages the caller would like; that takes most of its
/// time. Nothing that the directory says is trusted.
class ResourceDirectory {
public:
    explicit ResourceDirectory(HINSTANCE library) noexcept;

    /// Whether texts of the library may come from a .mui file: it has a resource of type "MUI".
    bool hasMuiFile() const noexcept;

    /// The resource that everybody gets who asks the system for this type and name: the library has
    /// it in one language only, and no part of its resources stands in other files. Nothing when it
    /// is absent or when the answer depends on who asks.
    std::optional<ResourceBlock> findForEverybody(WORD type, WORD name) const noexcept;

private:
    using Entry = IMAGE_RESOURCE_DIRECTORY_ENTRY;
    struct Table {
        std::span<const Entry> named, numbered;
    };

    template <class Item>
    const Item* at(std::size_t offset, std::size_t count = 1) const noexcept;
    Table tableAt(DWORD offset) const noexcept;
    Table tableBehind(const Table& parent, WORD number) const noexcept;
    bool hasMuiFile(const Table& types) const noexcept;
    bool isNamed(const Entry& entry, std::wstring_view name) const noexcept;

    HINSTANCE m_library;
    std::span<const std::byte> m_directory;  // and whatever of the library follows
};

}  // namespace i18nres
