#include "i18nres/ResourceDirectory.h"

#include <doctest/doctest.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <random>
#include <span>
#include <string>
#include <vector>

#include "i18nres/LoadedImage.h"
#include "tests/support/EndOfPage.h"
#include "tests/support/SatelliteFolder.h"

namespace {

using i18nres::ResourceBlock;
using i18nres::ResourceDirectory;
using testsupport::LoadedModule;
using testsupport::ResourceLibrary;
using testsupport::SatelliteFolder;

using Result = ResourceDirectory::Result;

constexpr WORD kData = 10;  // RT_RCDATA
constexpr LANGID kFrench = MAKELANGID(LANG_FRENCH, SUBLANG_FRENCH);
constexpr LANGID kGerman = MAKELANGID(LANG_GERMAN, SUBLANG_GERMAN);

Result find(HINSTANCE library, WORD type = kData, WORD name = 7) {
    ResourceBlock block;
    return ResourceDirectory(library).find(type, name, block);
}

// Creates a library in a new folder and loads it.
class Library {
public:
    explicit Library(const ResourceLibrary& contents)
        : m_module((m_folder.put(L"ledger.dll", contents), m_folder.file(L"ledger.dll"))) {}

    HINSTANCE get() const { return m_module.get(); }

    // Returns the contents of a resource, or the reason why find() did not return the resource.
    std::string resultOfFind(WORD type, WORD name) const {
        ResourceBlock block;
        switch (ResourceDirectory(get()).find(type, name, block)) {
            case Result::missing:
                return "missing";
            case Result::dependsOnThread:
                return "depends on the thread";
            case Result::found:
                break;
        }
        CHECK(block.library == get());
        return {reinterpret_cast<const char*>(block.data), block.size};
    }

private:
    SatelliteFolder m_folder;
    LoadedModule m_module;
};

ResourceLibrary threeTypes() {
    ResourceLibrary library;
    for (const WORD type : {WORD{5}, kData, WORD{300}}) {
        for (const WORD name : {WORD{1}, WORD{7}, WORD{0xFFFF}}) {
            library.resource(MAKEINTRESOURCEW(type), MAKEINTRESOURCEW(name),
                             std::to_string(type) + "/" + std::to_string(name));
        }
    }
    return library;
}

TEST_CASE("A resource directory finds every resource that has an integer identifier") {
    const Library library(threeTypes());

    for (const WORD type : {WORD{5}, kData, WORD{300}}) {
        for (const WORD name : {WORD{1}, WORD{7}, WORD{0xFFFF}}) {
            CHECK(library.resultOfFind(type, name) ==
                  std::to_string(type) + "/" + std::to_string(name));
        }
    }
}

TEST_CASE("A resource directory does not find identifiers that it does not contain") {
    const Library library(threeTypes());

    for (const WORD type : {WORD{0}, WORD{6}, WORD{301}, WORD{0xFFFF}}) {
        CHECK(library.resultOfFind(type, 7) == "missing");
    }
    for (const WORD name : {WORD{0}, WORD{6}, WORD{8}, WORD{0xFFFE}}) {
        CHECK(library.resultOfFind(kData, name) == "missing");
    }
}

TEST_CASE("A resource directory finds identifiers that follow names") {
    const Library library(threeTypes()
                              .resource(L"PALETTE", MAKEINTRESOURCEW(7), "of a named type")
                              .resource(MAKEINTRESOURCEW(kData), L"LEDGER", "of a name"));

    CHECK(library.resultOfFind(kData, 7) == "10/7");
}

TEST_CASE("A library without resources has no resource directory") {
    CHECK(find(::GetModuleHandleW(nullptr)) == Result::missing);
}

TEST_CASE("The resources of a library that has a .mui file are left to the system") {
    const Library library(threeTypes().resource(L"MUI", MAKEINTRESOURCEW(1), "which files"));

    CHECK(ResourceDirectory(library.get()).hasMuiFile());
    CHECK(library.resultOfFind(kData, 7) == "depends on the thread");
    CHECK(library.resultOfFind(kData, 8) == "depends on the thread");
}

TEST_CASE("A library whose resource types only have names like MUI has no .mui file") {
    const Library library(threeTypes()
                              .resource(L"MU", MAKEINTRESOURCEW(1), "shorter")
                              .resource(L"MUD", MAKEINTRESOURCEW(1), "another")
                              .resource(L"MUIS", MAKEINTRESOURCEW(1), "longer"));

    CHECK_FALSE(ResourceDirectory(library.get()).hasMuiFile());
    CHECK(library.resultOfFind(kData, 7) == "10/7");
}

TEST_CASE("list returns the identifiers of the resources of a type") {
    const Library library(threeTypes().resource(MAKEINTRESOURCEW(kData), L"LEDGER", "of a name"));
    const ResourceDirectory directory(library.get());
    std::span<const ResourceDirectory::Entry> entries;

    CHECK(directory.list(6, entries) == Result::missing);
    CHECK(entries.empty());
    REQUIRE(directory.list(kData, entries) == Result::found);

    std::vector<DWORD> numbers;
    for (const ResourceDirectory::Entry& entry : entries) numbers.push_back(entry.Name);
    CHECK(numbers == std::vector<DWORD>{1, 7, 0xFFFF});
}

TEST_CASE("list leaves the resources of a library that has a .mui file to the system") {
    const Library library(threeTypes().resource(L"MUI", MAKEINTRESOURCEW(1), "which files"));
    std::span<const ResourceDirectory::Entry> entries;

    CHECK(ResourceDirectory(library.get()).list(kData, entries) == Result::dependsOnThread);
    CHECK(entries.empty());
}

TEST_CASE("A resource in two languages is left to the system") {
    SatelliteFolder folder;
    folder.put(L"ledger.dll", ResourceLibrary());
    const HANDLE update = ::BeginUpdateResourceW(folder.file(L"ledger.dll").c_str(), TRUE);
    REQUIRE(update);
    for (const LANGID language : {kFrench, kGerman}) {
        char text[] = "in a language";
        REQUIRE(::UpdateResourceW(update, MAKEINTRESOURCEW(kData), MAKEINTRESOURCEW(7), language,
                                  text, sizeof text));
    }
    REQUIRE(::EndUpdateResourceW(update, FALSE));
    const LoadedModule module(folder.file(L"ledger.dll"));

    CHECK(find(module.get()) == Result::dependsOnThread);
}

// Copies a loaded library into memory that ends at an inaccessible page.
class Copy {
public:
    explicit Copy(HINSTANCE library)
        : m_original(i18nres::imageOf(library)),
          m_memory(m_original.size()),
          m_copy(m_memory.last<std::byte>(m_original.size())),
          m_directoryAt(headers(library)
                            .OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_RESOURCE]
                            .VirtualAddress) {
        restore();
    }

    void restore() { std::memcpy(m_copy, m_original.data(), m_original.size()); }
    HINSTANCE get() const { return reinterpret_cast<HINSTANCE>(m_copy); }
    IMAGE_NT_HEADERS& headers() { return const_cast<IMAGE_NT_HEADERS&>(headers(get())); }

    // table() returns the table at an offset in the resource directory. entry() returns the table
    // entry whose Name field is `number`.
    IMAGE_RESOURCE_DIRECTORY& table(DWORD offset) {
        return *reinterpret_cast<IMAGE_RESOURCE_DIRECTORY*>(m_copy + m_directoryAt + offset);
    }
    IMAGE_RESOURCE_DIRECTORY_ENTRY& entry(IMAGE_RESOURCE_DIRECTORY& table, DWORD number) {
        auto* found = reinterpret_cast<IMAGE_RESOURCE_DIRECTORY_ENTRY*>(&table + 1);
        while (found->Name != number) ++found;
        return *found;
    }

    // Returns the 16-bit value at an index in the resource directory.
    WORD& unit(std::size_t number) {
        return reinterpret_cast<WORD*>(m_copy + m_directoryAt)[number];
    }
    std::size_t units() const { return (m_original.size() - m_directoryAt) / sizeof(WORD); }

private:
    static const IMAGE_NT_HEADERS& headers(HINSTANCE library) {
        return i18nres::headersOf(library);
    }

    std::span<const std::byte> m_original;
    testsupport::EndOfPage m_memory;
    std::byte* m_copy;
    std::size_t m_directoryAt;
};

TEST_CASE("A resource directory past the end of its library is empty") {
    const Library library(threeTypes());
    Copy copy(library.get());
    REQUIRE(find(copy.get()) == Result::found);

    for (const DWORD address : {copy.headers().OptionalHeader.SizeOfImage, DWORD{0xFFFFFFFF}}) {
        copy.headers().OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_RESOURCE].VirtualAddress =
            address;
        CHECK(find(copy.get()) == Result::missing);
    }
}

TEST_CASE("A resource whose table starts past its library is left to the system") {
    const Library library(threeTypes());
    Copy copy(library.get());

    copy.entry(copy.table(0), kData).OffsetToData = 0xFFFFFFF0;

    CHECK(find(copy.get()) == Result::dependsOnThread);
}

TEST_CASE("A resource whose data entry is past its library is left to the system") {
    const Library library(threeTypes());
    Copy copy(library.get());
    auto& names = copy.table(copy.entry(copy.table(0), kData).OffsetToDirectory);
    auto& languages = copy.table(copy.entry(names, 7).OffsetToDirectory);

    copy.entry(languages, 0).OffsetToData = 0x7FFFFFF0;

    CHECK(find(copy.get()) == Result::dependsOnThread);
}

TEST_CASE("A resource whose entry does not refer to a table is left to the system") {
    const Library library(threeTypes());
    Copy copy(library.get());

    copy.entry(copy.table(0), kData).OffsetToData &= ~IMAGE_RESOURCE_DATA_IS_DIRECTORY;

    CHECK(find(copy.get()) == Result::dependsOnThread);
}

TEST_CASE("A resource whose language has a name is left to the system") {
    const Library library(threeTypes());
    Copy copy(library.get());
    auto& names = copy.table(copy.entry(copy.table(0), kData).OffsetToDirectory);
    auto& languages = copy.table(copy.entry(names, 7).OffsetToDirectory);

    languages.NumberOfNamedEntries = 1;

    CHECK(find(copy.get()) == Result::dependsOnThread);
}

TEST_CASE("A type whose name extends past its library is ignored") {
    const Library library(threeTypes().resource(L"PALETTE", MAKEINTRESOURCEW(7), "of a name"));
    Copy copy(library.get());
    auto* const named = reinterpret_cast<IMAGE_RESOURCE_DIRECTORY_ENTRY*>(&copy.table(0) + 1);
    const std::size_t last = copy.units() - 1;

    named->Name = IMAGE_RESOURCE_NAME_IS_STRING | static_cast<DWORD>(last * sizeof(WORD));
    copy.unit(last) = 3;  // the length of "MUI" in characters

    CHECK(find(copy.get()) == Result::found);
}

TEST_CASE("A resource directory is never read past the end of its library") {
    const Library library(threeTypes().resource(L"PALETTE", MAKEINTRESOURCEW(7), "of a name"));
    Copy copy(library.get());
    std::mt19937 random(7);  // fixed seed: every run makes the same changes
    const std::size_t damageableUnits = std::min<std::size_t>(copy.units(), 400);
    int found = 0;
    DWORD listed = 0;  // a sum, so that every entry is read
    for (int round = 0; round < 20000; ++round) {
        for (int damage = 0; damage < 1 + round % 4; ++damage) {
            const WORD values[] = {0,
                                   1,
                                   0x7FFF,
                                   0x8000,
                                   0xFFFF,
                                   static_cast<WORD>(copy.units() * sizeof(WORD)),
                                   static_cast<WORD>(random())};
            copy.unit(random() % damageableUnits) = values[random() % std::size(values)];
        }
        for (const WORD type : {WORD{5}, kData, WORD{300}}) {
            found += find(copy.get(), type, 7) == Result::found;
            std::span<const ResourceDirectory::Entry> entries;
            ResourceDirectory(copy.get()).list(type, entries);
            for (const ResourceDirectory::Entry& entry : entries) listed += entry.Name;
        }
        copy.restore();
    }
    CHECK(found > 0);
    CHECK(listed > 0);
}

}  // namespace
