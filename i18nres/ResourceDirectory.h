#pragma once

#include <windows.h>

#include <cstddef>
#include <span>
#include <string_view>

#include "i18nres/ResourceBlock.h"

namespace i18nres {

/// Reads the resource directory of a library without copying it. The library must be loaded as an
/// executable module. A call to find() takes much less time than a call to FindResourceW, which
/// first determines the preferred languages of the thread.
///
/// The values in the directory are checked: a table, an entry or a name is read only if it is
/// entirely within the image of the library.
class ResourceDirectory {
public:
    using Entry = IMAGE_RESOURCE_DIRECTORY_ENTRY;

    enum class Result {
        found,
        missing,
        /// The result may depend on the thread's language or on a .mui file, so call FindResourceW.
        dependsOnThread,
    };

    explicit ResourceDirectory(HINSTANCE library) noexcept;

    /// Returns true if resources of the library may be in a .mui file. A library with a .mui file
    /// contains a resource of type "MUI".
    bool hasMuiFile() const noexcept;

    /// Lists the resources of one type that have integer identifiers. The `Name` member of each
    /// entry contains the identifier.
    /// @param[out] entries  Receives a view of the entries in the directory. Unchanged unless the
    ///                      result is `found`.
    /// @return one of these values:
    ///         - `missing` if the library has no resources of this type.
    ///         - `dependsOnThread` if the library has a .mui file, or if a part of the directory
    ///           cannot be read.
    ///         - Otherwise, `found`.
    Result list(WORD type, std::span<const Entry>& entries) const noexcept;

    /// Finds a resource if the library contains it in only one language and has no .mui file. In
    /// this case, FindResourceW would return the same resource in every thread.
    ///
    /// @param[out] block  Receives the resource. Unchanged unless the result is `found`. The
    ///                    position and the size are not checked, so call `block.hasValidBounds()`
    ///                    before you use the data.
    /// @return one of these values:
    ///         - `missing` if the library does not contain the resource.
    ///         - `dependsOnThread` if the result of FindResourceW may differ between threads, or if
    ///           a part of the directory cannot be read.
    ///         - Otherwise, `found`.
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
    std::span<const std::byte> m_directory;  // extends to the end of the image
};

}  // namespace i18nres
