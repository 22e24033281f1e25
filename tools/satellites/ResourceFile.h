#pragma once

#include <windows.h>

#include <compare>
#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace satellites {

/// The type or the name of a resource: a name, or a number if the name is empty. Sorts like the
/// resource directory of a file: names first.
struct ResourceId {
    std::wstring name;
    unsigned number = 0;  ///< 16 bits in a file; the ids of strings can be larger.

    ResourceId() = default;
    explicit ResourceId(unsigned id) : number(id) {}
    ResourceId(const wchar_t* id) {  // a name or MAKEINTRESOURCEW(number)
        if (IS_INTRESOURCE(id)) {
            number = static_cast<unsigned>(reinterpret_cast<ULONG_PTR>(id));
        } else {
            name = id;
        }
    }
    /// The name or MAKEINTRESOURCEW(number), for functions of the system. Valid as long as this
    /// object.
    const wchar_t* get() const noexcept {
        return name.empty() ? MAKEINTRESOURCEW(number) : name.c_str();
    }
    std::wstring text() const { return name.empty() ? std::to_wstring(number) : name; }

    bool operator==(const ResourceId&) const = default;
    std::strong_ordering operator<=>(const ResourceId& other) const noexcept {
        if (name.empty() != other.name.empty()) {
            return name.empty() ? std::strong_ordering::greater : std::strong_ordering::less;
        }
        if (const auto names = name.compare(other.name); names != 0) return names <=> 0;
        return number <=> other.number;
    }
};

/// A resource in the bytes of its file.
struct Resource {
    ResourceId type;
    ResourceId name;
    WORD language = 0;
    std::span<const std::byte> data;
};

/// A PE file (DLL or program) as data, and the resources in it. None of its code runs. The values
/// in the file are checked: anything outside of the file makes it unreadable.
class ResourceFile {
public:
    /// Reads the contents of a file.
    /// @throws Unreadable with the reason, when it is not a PE file or is damaged.
    explicit ResourceFile(std::vector<std::byte> bytes);
    ResourceFile(const ResourceFile&) = delete;  // the resources point into the bytes
    ResourceFile& operator=(const ResourceFile&) = delete;
    ResourceFile(ResourceFile&&) = default;  // a moved vector does not move its elements

    /// The processor, as IMAGE_FILE_MACHINE_AMD64.
    WORD machine() const noexcept { return m_machine; }
    /// Whether the file has code, an entry point or imports. A satellite has none of them.
    bool hasCode() const noexcept { return m_hasCode; }

    /// All resources, sorted by type, name and language, one language of each: the neutral one,
    /// otherwise English of the United States, otherwise the first.
    const std::vector<Resource>& resources() const noexcept { return m_resources; }
    /// Those of one type.
    std::span<const Resource> ofType(const ResourceId& type) const noexcept;
    /// The data of one resource; empty when the file does not have it.
    std::span<const std::byte> find(const ResourceId& type, const ResourceId& name) const noexcept;

private:
    struct Section {
        DWORD address, size;      // in memory
        DWORD position, rawSize;  // in the file
    };
    class Walk;

    void readHeaders();
    bool hasImports(const IMAGE_DATA_DIRECTORY& directory) const;
    std::span<const std::byte> atAddress(DWORD address, DWORD size) const;
    void keepOneLanguage();

    std::vector<std::byte> m_bytes;
    std::vector<Section> m_sections;
    IMAGE_DATA_DIRECTORY m_directory = {};  // of the resources
    WORD m_machine = 0;
    bool m_hasCode = false;
    std::vector<Resource> m_resources;
};

}  // namespace satellites
