#pragma once

#include <windows.h>

#include <compare>
#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace satellites {

/// The type or the name of a resource, as a string or as a number. If `string` is empty, the type
/// or name is `number`. Strings are sorted before numbers, as in the resource directory of a file.
struct ResourceId {
    std::wstring string;
    unsigned number = 0;  ///< A resource number has 16 bits, but a string id may be larger.

    ResourceId() = default;
    explicit ResourceId(unsigned id) : number(id) {}
    ResourceId(const wchar_t* id) {  // `id` is a name or MAKEINTRESOURCEW(number)
        if (IS_INTRESOURCE(id)) {
            number = static_cast<unsigned>(reinterpret_cast<ULONG_PTR>(id));
        } else {
            string = id;
        }
    }
    /// Returns the name or MAKEINTRESOURCEW(number), for system functions. The pointer is valid for
    /// the lifetime of this object.
    const wchar_t* get() const noexcept {
        return string.empty() ? MAKEINTRESOURCEW(number) : string.c_str();
    }
    std::wstring text() const { return string.empty() ? std::to_wstring(number) : string; }

    bool operator==(const ResourceId&) const = default;
    std::strong_ordering operator<=>(const ResourceId& other) const noexcept {
        if (string.empty() != other.string.empty()) {
            return string.empty() ? std::strong_ordering::greater : std::strong_ordering::less;
        }
        if (const auto order = string.compare(other.string); order != 0) return order <=> 0;
        return number <=> other.number;
    }
};

/// A resource. `data` is a view of bytes that the ResourceFile owns.
struct Resource {
    ResourceId type;
    ResourceId name;
    WORD language = 0;
    std::span<const std::byte> data;
};

/// Reads a PE file (DLL or program) and its resources as data. The code in the file does not run.
/// The offsets and sizes in the file are checked. If the data at an offset is not entirely within
/// the file, the file is treated as unreadable.
class ResourceFile {
public:
    /// Parses the contents of a file.
    /// @throws Unreadable with the reason, if the file is not a PE file or is damaged.
    explicit ResourceFile(std::vector<std::byte> bytes);
    ResourceFile(const ResourceFile&) = delete;  // the resources refer to the bytes of this object
    ResourceFile& operator=(const ResourceFile&) = delete;
    ResourceFile(ResourceFile&&) = default;  // moving a vector does not move its elements

    /// Returns the processor type, such as IMAGE_FILE_MACHINE_AMD64.
    WORD machine() const noexcept { return m_machine; }
    /// Returns true if the file has code, an entry point or imports. A satellite must not have any
    /// of these.
    bool hasCode() const noexcept { return m_hasCode; }

    /// Returns the resources, sorted by type and name. Each resource is returned in one language:
    /// the neutral language, otherwise English (United States), otherwise the first language in the
    /// file.
    const std::vector<Resource>& resources() const noexcept { return m_resources; }
    /// Returns the resources of one type.
    std::span<const Resource> ofType(const ResourceId& type) const noexcept;
    /// Returns the data of one resource, or an empty span if the file does not contain the
    /// resource.
    std::span<const std::byte> find(const ResourceId& type, const ResourceId& name) const noexcept;

private:
    struct Section {
        DWORD address, size;      // in memory
        DWORD position, rawSize;  // in the file
    };
    class DirectoryReader;

    void readHeaders();
    bool hasImports(const IMAGE_DATA_DIRECTORY& directory) const;
    std::span<const std::byte> atAddress(DWORD address, DWORD size) const;
    void keepOneLanguage();

    std::vector<std::byte> m_bytes;
    std::vector<Section> m_sections;
    IMAGE_DATA_DIRECTORY m_directory = {};  // the resource directory
    WORD m_machine = 0;
    bool m_hasCode = false;
    std::vector<Resource> m_resources;
};

}  // namespace satellites
