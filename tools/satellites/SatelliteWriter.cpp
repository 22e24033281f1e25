#include "tools/satellites/SatelliteWriter.h"

#include <windows.h>

#include <algorithm>
#include <iterator>
#include <utility>

#include "tools/satellites/ByteWriter.h"
#include "tools/satellites/Failure.h"
#include "tools/satellites/Files.h"

namespace satellites {

namespace {

constexpr DWORD kSectionAddress = 0x1000;
constexpr DWORD kFileAlignment = 0x200;

template <class OptionalHeader>
OptionalHeader optionalHeader(WORD magic) {
    OptionalHeader header = {};
    header.Magic = magic;
    header.SizeOfInitializedData = kFileAlignment;
    header.ImageBase = 0x10000000;
    header.SectionAlignment = kSectionAddress;
    header.FileAlignment = kFileAlignment;
    header.MajorOperatingSystemVersion = 6;
    header.MajorSubsystemVersion = 6;
    header.SizeOfImage = 2 * kSectionAddress;
    header.SizeOfHeaders = kFileAlignment;
    header.Subsystem = IMAGE_SUBSYSTEM_WINDOWS_GUI;
    header.DllCharacteristics =
        IMAGE_DLLCHARACTERISTICS_DYNAMIC_BASE | IMAGE_DLLCHARACTERISTICS_NX_COMPAT;
    header.NumberOfRvaAndSizes = IMAGE_NUMBEROF_DIRECTORY_ENTRIES;
    header.DataDirectory[IMAGE_DIRECTORY_ENTRY_RESOURCE] = {kSectionAddress,
                                                            sizeof(IMAGE_RESOURCE_DIRECTORY)};
    return header;
}

/// Returns a DLL that contains an empty resource directory and no code. UpdateResourceW can add
/// resources to this DLL.
std::vector<std::byte> emptyLibrary(WORD machine) {
    const bool is32Bit = machine == IMAGE_FILE_MACHINE_I386 || machine == IMAGE_FILE_MACHINE_ARMNT;
    ByteWriter writer;
    IMAGE_DOS_HEADER dos = {};
    dos.e_magic = IMAGE_DOS_SIGNATURE;
    dos.e_lfanew = sizeof dos;
    writer.write(dos);
    writer.write(DWORD{IMAGE_NT_SIGNATURE});

    IMAGE_FILE_HEADER file = {};
    file.Machine = machine;
    file.NumberOfSections = 1;
    file.SizeOfOptionalHeader =
        is32Bit ? sizeof(IMAGE_OPTIONAL_HEADER32) : sizeof(IMAGE_OPTIONAL_HEADER64);
    file.Characteristics = IMAGE_FILE_EXECUTABLE_IMAGE | IMAGE_FILE_DLL;
    file.Characteristics |= is32Bit ? IMAGE_FILE_32BIT_MACHINE : IMAGE_FILE_LARGE_ADDRESS_AWARE;
    writer.write(file);
    if (is32Bit) {
        writer.write(optionalHeader<IMAGE_OPTIONAL_HEADER32>(IMAGE_NT_OPTIONAL_HDR32_MAGIC));
    } else {
        writer.write(optionalHeader<IMAGE_OPTIONAL_HEADER64>(IMAGE_NT_OPTIONAL_HDR64_MAGIC));
    }

    IMAGE_SECTION_HEADER section = {};
    constexpr char kName[] = ".rsrc";
    std::copy(std::begin(kName), std::end(kName) - 1, section.Name);
    section.Misc.VirtualSize = sizeof(IMAGE_RESOURCE_DIRECTORY);
    section.VirtualAddress = kSectionAddress;
    section.SizeOfRawData = kFileAlignment;
    section.PointerToRawData = kFileAlignment;
    section.Characteristics = IMAGE_SCN_CNT_INITIALIZED_DATA | IMAGE_SCN_MEM_READ;
    writer.write(section);
    writer.align(kFileAlignment);
    writer.write(IMAGE_RESOURCE_DIRECTORY{});
    writer.align(kFileAlignment);
    return writer.take();
}

/// Updates the resources of a file. If finish() is not called, the destructor discards the update.
class ResourceUpdate {
public:
    explicit ResourceUpdate(const std::wstring& path)
        : m_update(::BeginUpdateResourceW(path.c_str(), TRUE)) {
        if (!m_update) fail();
    }
    ResourceUpdate(const ResourceUpdate&) = delete;
    ResourceUpdate& operator=(const ResourceUpdate&) = delete;
    ~ResourceUpdate() {
        if (m_update) ::EndUpdateResourceW(m_update, TRUE);
    }

    void add(const NewResource& resource, WORD language) {
        const bool isEmpty = resource.data.empty();
        // With a null pointer and the size 0, UpdateResourceW deletes the resource. An empty
        // resource therefore needs a pointer that is not null.
        std::byte empty{};
        std::byte* const data = isEmpty ? &empty : const_cast<std::byte*>(resource.data.data());
        if (::UpdateResourceW(m_update, resource.type.get(), resource.name.get(), language, data,
                              static_cast<DWORD>(resource.data.size()))) {
            return;
        }
        // Not every system supports empty resources: under Wine, UpdateResourceW returns FALSE
        // without an error code.
        if (!isEmpty) fail();
        throw Failure{L"the resource " + resource.type.text() + L"/" + resource.name.text() +
                      L" is empty; the system cannot write empty resources"};
    }
    void finish() {
        if (!::EndUpdateResourceW(std::exchange(m_update, nullptr), FALSE)) fail();
    }

private:
    [[noreturn]] static void fail() {
        throw Failure{L"the resources of the satellite cannot be written: " +
                      reasonOf(::GetLastError())};
    }
    HANDLE m_update;
};

}  // namespace

void writeSatellite(const std::wstring& path, WORD machine, WORD language,
                    const std::vector<NewResource>& resources) {
    Replacement file(path);
    file.write(emptyLibrary(machine));
    ResourceUpdate update(file.path());
    for (const NewResource& resource : resources) update.add(resource, language);
    update.finish();
    file.commit();
}

WORD languageOf(const std::wstring& culture) {
    const LCID locale = ::LocaleNameToLCID(culture.c_str(), 0);
    // All locales without an identifier of their own share the identifier
    // LOCALE_CUSTOM_UNSPECIFIED.
    if (locale == 0 || LANGIDFROMLCID(locale) == LANGIDFROMLCID(LOCALE_CUSTOM_UNSPECIFIED)) {
        return MAKELANGID(LANG_NEUTRAL, SUBLANG_NEUTRAL);
    }
    return LANGIDFROMLCID(locale);
}

}  // namespace satellites
