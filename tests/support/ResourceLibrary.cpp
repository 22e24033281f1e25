#include "tests/support/ResourceLibrary.h"

#include <cstring>
#include <vector>

namespace testsupport {

namespace {

constexpr DWORD kSectionRva = 0x1000;
constexpr DWORD kFileAlignment = 0x200;

DWORD roundUp(std::size_t value, DWORD to) {
    return static_cast<DWORD>((value + to - 1) / to * to);
}

template <class T>
void append(std::string& bytes, const T& value) {
    bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
}

std::string bytesOf(std::wstring_view units) {
    return {reinterpret_cast<const char*>(units.data()), units.size() * sizeof(wchar_t)};
}

// Returns a one-color bitmap with 32 bits per pixel as a packed DIB. If `forIcon` is true, the
// bitmap also has a mask.
std::string dib(int size, bool forIcon) {
    BITMAPINFOHEADER header = {};
    header.biSize = sizeof header;
    header.biWidth = size;
    header.biHeight = forIcon ? size * 2 : size;
    header.biPlanes = 1;
    header.biBitCount = 32;
    std::string bytes;
    append(bytes, header);
    bytes.append(static_cast<std::size_t>(size) * static_cast<std::size_t>(size) * 4, '\x80');
    if (forIcon) {
        const int maskLine = (size + 31) / 32 * 4;
        bytes.append(static_cast<std::size_t>(maskLine) * static_cast<std::size_t>(size), '\0');
    }
    return bytes;
}

}  // namespace

ResourceLibrary::Key::Key(const wchar_t* key) {
    if (IS_INTRESOURCE(key)) {
        number = static_cast<WORD>(reinterpret_cast<ULONG_PTR>(key));
    } else {
        name = key;
    }
}

bool ResourceLibrary::InOrder::operator()(const Key& a, const Key& b) const {
    if (a.name.empty() != b.name.empty()) return b.name.empty();
    return a.name.empty() ? a.number < b.number : a.name < b.name;
}

ResourceLibrary& ResourceLibrary::string(unsigned id, std::wstring_view text) {
    m_strings[id] = text;
    return *this;
}

ResourceLibrary& ResourceLibrary::stringBlock(unsigned number, std::wstring_view units,
                                              WrongDataEntry wrong) {
    return resource(RT_STRING, MAKEINTRESOURCEW(number), bytesOf(units), wrong);
}

ResourceLibrary& ResourceLibrary::resource(Key type, Key name, std::string_view bytes,
                                           WrongDataEntry wrong) {
    m_types[type].insert_or_assign(name, Resource{std::string(bytes), wrong});
    return *this;
}

// An icon or cursor group refers to its images by number. Here, the group and its only image have
// the same number, which is allowed because their resource types differ.
void ResourceLibrary::image(Key imageType, Key groupType, WORD number, WORD groupKind, int size) {
    std::string bytes;
    const bool isCursor = groupKind == 2;
    if (isCursor) append(bytes, DWORD(0));  // the hot spot: 0, 0
    bytes += dib(size, true);

    std::string group;
    append(group, WORD(0));
    append(group, groupKind);
    append(group, WORD(1));  // images
    if (isCursor) {
        append(group, static_cast<WORD>(size));
        append(group, static_cast<WORD>(size * 2));
    } else {
        append(group, static_cast<BYTE>(size));
        append(group, static_cast<BYTE>(size));
        append(group, WORD(0));  // colors
    }
    append(group, WORD(1));   // planes
    append(group, WORD(32));  // bits
    append(group, static_cast<DWORD>(bytes.size()));
    append(group, number);

    resource(imageType, MAKEINTRESOURCEW(number), bytes);
    resource(groupType, MAKEINTRESOURCEW(number), group);
}

ResourceLibrary& ResourceLibrary::icon(WORD number, int size) {
    image(RT_ICON, RT_GROUP_ICON, number, 1, size);
    return *this;
}

ResourceLibrary& ResourceLibrary::cursor(WORD number, int size) {
    image(RT_CURSOR, RT_GROUP_CURSOR, number, 2, size);
    return *this;
}

ResourceLibrary& ResourceLibrary::bitmap(WORD number, int size) {
    return resource(RT_BITMAP, MAKEINTRESOURCEW(number), dib(size, false));
}

ResourceLibrary& ResourceLibrary::menu(WORD number, int items) {
    std::string bytes(4, '\0');  // the version and the header size, both 0
    for (int item = 1; item <= items; ++item) {
        append(bytes, static_cast<WORD>(item == items ? MF_END : 0));
        append(bytes, static_cast<WORD>(item));  // command
        bytes += bytesOf(std::wstring_view(L"Item", 5));
    }
    return resource(RT_MENU, MAKEINTRESOURCEW(number), bytes);
}

ResourceLibrary::Types ResourceLibrary::withStringTables() const {
    std::map<unsigned, std::vector<std::wstring>> blocks;
    for (const auto& [id, text] : m_strings) {
        auto& block = blocks[id / 16 + 1];
        block.resize(16);
        block[id % 16] = text;
    }
    Types types = m_types;
    for (const auto& [number, entries] : blocks) {
        std::wstring units;
        for (const std::wstring& entry : entries) {
            units.push_back(static_cast<wchar_t>(entry.size()));
            units += entry;
        }
        types[RT_STRING][MAKEINTRESOURCEW(number)] = {bytesOf(units), {}};
    }
    return types;
}

std::string ResourceLibrary::image() const {
    const Types types = withStringTables();

    // The resource section consists of three levels of directories (type, name, language), one data
    // entry for each resource, the names, and the contents.
    DWORD directoryBytes = 16 + 8 * static_cast<DWORD>(types.size());
    DWORD count = 0;
    for (const auto& [type, names] : types) {
        directoryBytes += 16 + 8 * static_cast<DWORD>(names.size());
        count += static_cast<DWORD>(names.size());
    }
    const DWORD languagesAt = directoryBytes;
    const DWORD entriesAt = languagesAt + count * 24;
    const DWORD namesAt = entriesAt + count * 16;

    std::string nameBytes;
    const auto keyOf = [&](const Key& key) -> DWORD {
        if (key.name.empty()) return key.number;
        const DWORD at = namesAt + static_cast<DWORD>(nameBytes.size());
        append(nameBytes, static_cast<WORD>(key.name.size()));
        nameBytes += bytesOf(key.name);
        return at | IMAGE_RESOURCE_NAME_IS_STRING;
    };
    const auto directory = [](std::string& bytes, std::size_t named, std::size_t numbered) {
        bytes.append(12, '\0');
        append(bytes, static_cast<WORD>(named));
        append(bytes, static_cast<WORD>(numbered));
    };
    const auto countNamed = [](const auto& keyed) {
        std::size_t named = 0;
        for (const auto& [key, value] : keyed) named += !key.name.empty();
        return named;
    };

    std::string root, typeLevel, languageLevel, entries, contents;
    directory(root, countNamed(types), types.size() - countNamed(types));
    const DWORD rootBytes = 16 + 8 * static_cast<DWORD>(types.size());
    for (const auto& [type, names] : types) {
        append(root, keyOf(type));
        append(root, (rootBytes + static_cast<DWORD>(typeLevel.size())) |
                         IMAGE_RESOURCE_DATA_IS_DIRECTORY);
        directory(typeLevel, countNamed(names), names.size() - countNamed(names));
        for (const auto& [name, resource] : names) {
            append(typeLevel, keyOf(name));
            append(typeLevel, (languagesAt + static_cast<DWORD>(languageLevel.size())) |
                                  IMAGE_RESOURCE_DATA_IS_DIRECTORY);
            directory(languageLevel, 0, 1);
            append(languageLevel, DWORD(0));  // neutral
            append(languageLevel, entriesAt + static_cast<DWORD>(entries.size()));
            // A data entry consists of an offset, a size, a code page and a reserved field. At
            // first, the offset is relative to the contents. A later loop adds the address of the
            // contents.
            append(entries, resource.wrong.offset + static_cast<DWORD>(contents.size()));
            append(entries, resource.wrong.size ? resource.wrong.size
                                                : static_cast<DWORD>(resource.bytes.size()));
            append(entries, DWORD(0));
            append(entries, DWORD(0));
            contents += resource.bytes;
            contents.resize(roundUp(contents.size(), 8));
        }
    }
    nameBytes.resize(roundUp(namesAt + nameBytes.size(), 8) - namesAt);
    const DWORD contentsRva = kSectionRva + namesAt + static_cast<DWORD>(nameBytes.size());
    for (std::size_t at = 0; at < entries.size(); at += 16) {
        DWORD position;
        std::memcpy(&position, &entries[at], sizeof position);
        position += contentsRva;
        std::memcpy(&entries[at], &position, sizeof position);
    }
    std::string section = root + typeLevel + languageLevel + entries + nameBytes + contents;
    const DWORD sectionBytes = static_cast<DWORD>(section.size());
    section.resize(roundUp(section.size(), kFileAlignment));

    IMAGE_DOS_HEADER dos = {};
    dos.e_magic = IMAGE_DOS_SIGNATURE;
    dos.e_lfanew = sizeof dos;
    IMAGE_NT_HEADERS64 nt = {};
    nt.Signature = IMAGE_NT_SIGNATURE;
    nt.FileHeader.Machine = IMAGE_FILE_MACHINE_AMD64;
    nt.FileHeader.NumberOfSections = 1;
    nt.FileHeader.SizeOfOptionalHeader = sizeof nt.OptionalHeader;
    nt.FileHeader.Characteristics =
        IMAGE_FILE_EXECUTABLE_IMAGE | IMAGE_FILE_LARGE_ADDRESS_AWARE | IMAGE_FILE_DLL;
    nt.OptionalHeader.Magic = IMAGE_NT_OPTIONAL_HDR64_MAGIC;
    nt.OptionalHeader.SizeOfInitializedData = static_cast<DWORD>(section.size());
    nt.OptionalHeader.ImageBase = 0x180000000;
    nt.OptionalHeader.SectionAlignment = kSectionRva;
    nt.OptionalHeader.FileAlignment = kFileAlignment;
    nt.OptionalHeader.MajorOperatingSystemVersion = 6;
    nt.OptionalHeader.MajorSubsystemVersion = 6;
    nt.OptionalHeader.SizeOfImage = kSectionRva + roundUp(sectionBytes, kSectionRva);
    nt.OptionalHeader.SizeOfHeaders = kFileAlignment;
    nt.OptionalHeader.Subsystem = IMAGE_SUBSYSTEM_WINDOWS_GUI;
    nt.OptionalHeader.DllCharacteristics =
        IMAGE_DLLCHARACTERISTICS_DYNAMIC_BASE | IMAGE_DLLCHARACTERISTICS_NX_COMPAT;
    nt.OptionalHeader.NumberOfRvaAndSizes = IMAGE_NUMBEROF_DIRECTORY_ENTRIES;
    nt.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_RESOURCE] = {kSectionRva, sectionBytes};
    IMAGE_SECTION_HEADER rsrc = {};
    std::memcpy(rsrc.Name, ".rsrc", 5);
    rsrc.Misc.VirtualSize = sectionBytes;
    rsrc.VirtualAddress = kSectionRva;
    rsrc.SizeOfRawData = static_cast<DWORD>(section.size());
    rsrc.PointerToRawData = kFileAlignment;
    rsrc.Characteristics = IMAGE_SCN_CNT_INITIALIZED_DATA | IMAGE_SCN_MEM_READ;

    std::string file;
    append(file, dos);
    append(file, nt);
    append(file, rsrc);
    file.resize(kFileAlignment);
    return file + section;
}

}  // namespace testsupport
