#include "tools/satellites/ResourceFile.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <utility>

#include "tools/satellites/ByteReader.h"
#include "tools/satellites/Failure.h"

namespace satellites {

namespace {

/// If this bit is set, a value in the resource directory is the offset of a table or a name.
constexpr DWORD kHighBit = 0x80000000;

/// Maximum number of entries that are read from a resource directory. Without this limit, a damaged
/// directory whose tables share subtables could yield a very large number of resources.
constexpr std::size_t kMaxEntries = 262'144;

/// Maximum number of sections that the Windows loader accepts.
constexpr WORD kMaxSections = 96;

/// Maximum total size of the resources and their names, as a multiple of the size of the file. In a
/// malicious file, thousands of large resources can share the same bytes.
constexpr std::size_t kMaxSizeRatio = 16;

const Unreadable kCutOff{L"it is cut off or damaged"};

/// Returns true if an executable section contains code. Bytes with the values 0 and 0xFF are not
/// code. They are padding, or the two empty constructor lists that GNU ld writes to libraries
/// without code.
bool isCode(std::span<const std::byte> section) {
    return std::any_of(section.begin(), section.end(), [](std::byte each) {
        return each != std::byte{0} && each != std::byte{0xFF};
    });
}

}  // namespace

/// Reads the resource directory. The table of types refers to tables of names, which refer to
/// tables of languages.
class ResourceFile::DirectoryReader {
public:
    DirectoryReader(const ResourceFile& file, std::span<const std::byte> directory,
                    std::vector<Resource>& resources)
        : m_file(file), m_directory(directory), m_resources(resources) {}

    void read() {
        forEachEntry(0, [&](const ResourceId& type, DWORD names) {
            forEachEntry(tableAt(names), [&](const ResourceId& name, DWORD languages) {
                forEachEntry(tableAt(languages), [&](const ResourceId& language, DWORD data) {
                    add(type, name, static_cast<WORD>(language.number), data);
                });
            });
        });
    }

private:
    template <class Action>
    void forEachEntry(DWORD offset, Action action) {
        ByteReader reader(m_directory);
        reader.seek(offset);
        const auto header = reader.read<IMAGE_RESOURCE_DIRECTORY>();
        if (!reader.ok()) throw kCutOff;
        const std::size_t count =
            std::size_t{header.NumberOfNamedEntries} + header.NumberOfIdEntries;
        for (std::size_t i = 0; i < count; ++i) {
            const auto id = reader.read<DWORD>();
            const auto target = reader.read<DWORD>();
            if (!reader.ok() || ++m_entries > kMaxEntries) throw kCutOff;
            action(idOf(id), target);
        }
    }

    ResourceId idOf(DWORD id) {
        ResourceId result;
        if (id & kHighBit) {
            ByteReader reader(m_directory);
            reader.seek(id & ~kHighBit);
            const auto length = reader.read<WORD>();
            addToTotalSize(length * sizeof(wchar_t));
            result.string = reader.units(length);
            if (!reader.ok() || result.string.empty()) throw kCutOff;
        } else {
            result.number = static_cast<WORD>(id);
        }
        return result;
    }

    void addToTotalSize(std::size_t bytes) {
        m_totalSize += bytes;
        if (m_totalSize / kMaxSizeRatio > m_file.m_bytes.size()) {
            throw Unreadable{L"many of its resources share the same bytes"};
        }
    }

    static DWORD tableAt(DWORD target) {
        if (!(target & kHighBit)) throw kCutOff;
        return target & ~kHighBit;
    }

    void add(const ResourceId& type, const ResourceId& name, WORD language, DWORD offset) {
        if (offset & kHighBit) throw kCutOff;
        ByteReader reader(m_directory);
        reader.seek(offset);
        const auto entry = reader.read<IMAGE_RESOURCE_DATA_ENTRY>();
        if (!reader.ok()) throw kCutOff;
        addToTotalSize(entry.Size + (type.string.size() + name.string.size()) * sizeof(wchar_t));
        m_resources.push_back(
            {type, name, language, m_file.atAddress(entry.OffsetToData, entry.Size)});
    }

    const ResourceFile& m_file;
    std::span<const std::byte> m_directory;
    std::vector<Resource>& m_resources;
    std::size_t m_entries = 0;
    std::size_t m_totalSize = 0;
};

ResourceFile::ResourceFile(std::vector<std::byte> bytes) : m_bytes(std::move(bytes)) {
    readHeaders();
    if (m_directory.VirtualAddress == 0 || m_directory.Size == 0) return;
    DirectoryReader(*this, atAddress(m_directory.VirtualAddress, m_directory.Size), m_resources)
        .read();
    keepOneLanguage();
}

void ResourceFile::readHeaders() {
    const Unreadable notPe{L"it is not a DLL or program"};
    ByteReader reader(m_bytes);
    const auto dos = reader.read<IMAGE_DOS_HEADER>();
    if (!reader.ok() || dos.e_magic != IMAGE_DOS_SIGNATURE || dos.e_lfanew < 0) throw notPe;
    reader.seek(static_cast<std::size_t>(dos.e_lfanew));
    if (reader.read<DWORD>() != IMAGE_NT_SIGNATURE) throw notPe;
    const auto header = reader.read<IMAGE_FILE_HEADER>();
    m_machine = header.Machine;

    const auto optional = reader.take(header.SizeOfOptionalHeader);
    if (!reader.ok() || optional.size() < sizeof(WORD)) throw kCutOff;
    IMAGE_DATA_DIRECTORY directories[IMAGE_NUMBEROF_DIRECTORY_ENTRIES] = {};
    const auto readOptional = [&](auto fields) {
        // The optional header may be shorter than the structure, because it may contain fewer data
        // directories.
        if (optional.size() < offsetof(decltype(fields), DataDirectory)) throw kCutOff;
        std::memcpy(&fields, optional.data(), std::min(optional.size(), sizeof fields));
        const std::size_t count =
            std::min<std::size_t>(fields.NumberOfRvaAndSizes, std::size(directories));
        std::copy_n(fields.DataDirectory, count, directories);
        m_hasCode = fields.AddressOfEntryPoint != 0;
    };
    switch (ByteReader(optional).read<WORD>()) {
        case IMAGE_NT_OPTIONAL_HDR64_MAGIC:
            readOptional(IMAGE_OPTIONAL_HEADER64{});
            break;
        case IMAGE_NT_OPTIONAL_HDR32_MAGIC:
            readOptional(IMAGE_OPTIONAL_HEADER32{});
            break;
        default:
            throw notPe;
    }

    if (header.NumberOfSections > kMaxSections) throw Unreadable{L"it has more than 96 sections"};
    for (WORD i = 0; i < header.NumberOfSections; ++i) {
        const auto section = reader.read<IMAGE_SECTION_HEADER>();
        if (!reader.ok()) throw kCutOff;
        const DWORD rawSize = section.PointerToRawData ? section.SizeOfRawData : 0;
        if (rawSize > 0 && (section.PointerToRawData > m_bytes.size() ||
                            rawSize > m_bytes.size() - section.PointerToRawData)) {
            throw kCutOff;
        }
        const auto contents =
            std::span(m_bytes).subspan(rawSize > 0 ? section.PointerToRawData : 0, rawSize);
        const bool isExecutable =
            (section.Characteristics & (IMAGE_SCN_CNT_CODE | IMAGE_SCN_MEM_EXECUTE)) != 0;
        if (isExecutable && isCode(contents)) m_hasCode = true;
        m_sections.push_back(
            {section.VirtualAddress, section.Misc.VirtualSize, section.PointerToRawData, rawSize});
    }
    if (hasImports(directories[IMAGE_DIRECTORY_ENTRY_IMPORT])) m_hasCode = true;
    if (directories[IMAGE_DIRECTORY_ENTRY_DELAY_IMPORT].Size != 0) m_hasCode = true;
    m_directory = directories[IMAGE_DIRECTORY_ENTRY_RESOURCE];
}

bool ResourceFile::hasImports(const IMAGE_DATA_DIRECTORY& directory) const {
    if (directory.VirtualAddress == 0 || directory.Size == 0) return false;
    // For a DLL without imports, GNU ld writes an import table that contains only the terminating
    // entry. Such a table imports nothing.
    ByteReader reader(atAddress(directory.VirtualAddress, sizeof(IMAGE_IMPORT_DESCRIPTOR)));
    return reader.read<IMAGE_IMPORT_DESCRIPTOR>().Name != 0;
}

std::span<const std::byte> ResourceFile::atAddress(DWORD address, DWORD size) const {
    for (const Section& section : m_sections) {
        if (address < section.address || address - section.address >= section.rawSize) continue;
        const DWORD offset = address - section.address;
        if (size > section.rawSize - offset) break;
        return std::span(m_bytes).subspan(section.position + std::size_t{offset}, size);
    }
    if (size == 0) return {};
    throw kCutOff;
}

void ResourceFile::keepOneLanguage() {
    const auto rank = [](WORD language) {
        if (language == MAKELANGID(LANG_NEUTRAL, SUBLANG_NEUTRAL)) return 0;
        return language == MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US) ? 1 : 2;
    };
    std::stable_sort(m_resources.begin(), m_resources.end(),
                     [&](const Resource& a, const Resource& b) {
                         if (a.type != b.type) return a.type < b.type;
                         if (a.name != b.name) return a.name < b.name;
                         return rank(a.language) < rank(b.language);
                     });
    m_resources.erase(std::unique(m_resources.begin(), m_resources.end(),
                                  [](const Resource& a, const Resource& b) {
                                      return a.type == b.type && a.name == b.name;
                                  }),
                      m_resources.end());
}

std::span<const Resource> ResourceFile::ofType(const ResourceId& type) const noexcept {
    const auto [first, last] =
        std::equal_range(m_resources.begin(), m_resources.end(), Resource{type, {}, 0, {}},
                         [](const Resource& a, const Resource& b) { return a.type < b.type; });
    return {first, last};
}

std::span<const std::byte> ResourceFile::find(const ResourceId& type,
                                              const ResourceId& name) const noexcept {
    for (const Resource& resource : ofType(type)) {
        if (resource.name == name) return resource.data;
    }
    return {};
}

}  // namespace satellites
