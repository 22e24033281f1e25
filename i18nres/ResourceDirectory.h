#pragma once

#include <windows.h>

#include <cstddef>
#include <span>
#include <string_view>

#include "i18nres/ResourceBlock.h"

namespace i18nres {

/// Reads the resource directory of a library that is loaded as code, in place. Takes a fraction of
/// the time of FindResourceW, which first determines the preferred languages of the thread.
///
/// The values in the directory are checked: every table, entry and name is read only if all of it
/// is in the library.
class ResourceDirectory {
public:
    using Entry = IMAGE_RESOURCE_DIRECTORY_ENTRY;

    enum class Result {
        found,
        missing,
        dependsOnThread,  ///< FindResourceW decides: by the thread's language, or by a .mui file.
    };

    explicit ResourceDirectory(HINSTANCE library) noexcept;

    /// Whether resources of the library may come from a .mui file: it has one of type "MUI".
    bool hasMuiFile() const noexcept;

    /// Lists the resources of one type that have a number: the `Name` of each entry.
    /// @param[out] entries  In place. Untouched unless the result is `found`.
    Result list(WORD type, std::span<const Entry>& entries) const noexcept;

    /// Finds a resource where FindResourceW would return the same one in every thread: the library
    /// has the resource in one language and has no .mui file.
    ///
    /// @param[out] block  The resource. Untouched unless the result is `found`. Its position and
    ///                    size are those stated in the directory: check isInItsFile().
    /// @return `dependsOnThread` also when a part of the directory cannot be read.
    Result find(WORD type, WORD name, ResourceBlock& block) const noexcept;

private:
    struct Table {
        bool isReadable = false;
        std::span<const Entry> named, numbered;
    };

    template <class Item>
    const Item* at(std::size_t offset, std::size_t count = 1) const noexcept;
    Table tableAt(DWORD offset) const noexcept;
    Result tableOf(WORD type, Table& names) const noexcept;
    Result findTable(const Table& parent, WORD number, Table& table) const noexcept;
    bool isNamed(const Entry& entry, std::wstring_view name) const noexcept;
    bool hasMuiFile(const Table& types) const noexcept;

    HINSTANCE m_library;
    std::span<const std::byte> m_directory;  // with the rest of the library after it
};

}  // namespace i18nres
