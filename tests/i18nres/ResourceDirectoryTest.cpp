#include "i18nres/ResourceDirectory.h"

#include <doctest/doctest.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <random>
#include <span>
#include <string>

#include "i18nres/LoadedImage.h"
#include "tests/support/EndOfPage.h"
#include "tests/support/SatelliteFolder.h"

namespace {

using i18nres::ResourceDirectory;
using testsupport::LoadedModule;
using testsupport::ResourceLibrary;
using testsupport::SatelliteFolder;

constexpr WORD kData = 10;  // RT_RCDATA
constexpr LANGID kFrench = MAKELANGID(LANG_FRENCH, SUBLANG_FRENCH);
constexpr LANGID kGerman = MAKELANGID(LANG_GERMAN, SUBLANG_GERMAN);

// A library that is loaded from a folder of its own.
class Library {
public:
    explicit Library(const ResourceLibrary& contents)
        : m_module((m_folder.put(L"ledger.dll", contents), m_folder.file(L"ledger.dll"))) {}

    HINSTANCE get() const { return m_module.get(); }

    // What it holds under a type and a name, "nothing" where that is not for everybody.
    std::string held(WORD type, WORD name) const {
        const auto found = ResourceDirectory(get()).findForEverybody(type, name);
        if (!found) return "nothing";
        CHECK(found->library == get());
        return {reinterpret_cast<const char*>(found->data), found->size};
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

TEST_CASE("a directory finds every resource that has a number") {
    const Library library(threeTypes());

    for (const WORD type : {WORD{5}, kData, WORD{300}}) {
        for (const WORD name : {WORD{1}, WORD{7}, WORD{0xFFFF}}) {
            CHECK(library.held(type, name) == std::to_string(type) + "/" + std::to_string(name));
        }
    }
}

TEST_CASE("a directory finds nothing under numbers that it does not have") {
    const Library library(threeTypes());

    for (const WORD type : {WORD{0}, WORD{6}, WORD{301}, WORD{0xFFFF}}) {
        CHECK(library.held(type, 7) == "nothing");
    }
    for (const WORD name : {WORD{0}, WORD{6}, WORD{8}, WORD{0xFFFE}}) {
        CHECK(library.held(kData, name) == "nothing");
    }
}

TEST_CASE("a directory finds numbers behind names") {
    const Library library(threeTypes()
                              .resource(L"PALETTE", MAKEINTRESOURCEW(7), "of a named type")
                              .resource(MAKEINTRESOURCEW(kData), L"LEDGER", "of a name"));

    CHECK(library.held(kData, 7) == "10/7");
}

TEST_CASE("a library without resources has no directory") {
    CHECK(!ResourceDirectory(::GetModuleHandleW(nullptr)).findForEverybody(kData, 7));
}

TEST_CASE("a library whose texts stand in other files leaves the answer to the system") {
    const Library library(threeTypes().resource(L"MUI", MAKEINTRESOURCEW(1), "which files"));

    CHECK(library.held(kData, 7) == "nothing");
}

TEST_CASE("a type whose name only begins as that of other files means nothing") {
    const Library library(threeTypes()
                              .resource(L"MU", MAKEINTRESOURCEW(1), "shorter")
                              .resource(L"MUD", MAKEINTRESOURCEW(1), "another")
                              .resource(L"MUIS", MAKEINTRESOURCEW(1), "longer"));

    CHECK(library.held(kData, 7) == "10/7");
}

TEST_CASE("a resource in two languages leaves the answer to the system") {
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

    CHECK(!ResourceDirectory(module.get()).findForEverybody(kData, 7));
}

// A copy of a loaded library behind which no memory follows.
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

    // The table that starts at an offset within the directory, and the entry of a number in it.
    IMAGE_RESOURCE_DIRECTORY& table(DWORD offset) {
        return *reinterpret_cast<IMAGE_RESOURCE_DIRECTORY*>(m_copy + m_directoryAt + offset);
    }
    IMAGE_RESOURCE_DIRECTORY_ENTRY& entry(IMAGE_RESOURCE_DIRECTORY& table, DWORD number) {
        auto* found = reinterpret_cast<IMAGE_RESOURCE_DIRECTORY_ENTRY*>(&table + 1);
        while (found->Name != number) ++found;
        return *found;
    }

    // 16-bit units of the directory.
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

TEST_CASE("a directory that lies behind its library holds nothing") {
    const Library library(threeTypes());
    Copy copy(library.get());
    REQUIRE(ResourceDirectory(copy.get()).findForEverybody(kData, 7));

    for (const DWORD address : {copy.headers().OptionalHeader.SizeOfImage, DWORD{0xFFFFFFFF}}) {
        copy.headers().OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_RESOURCE].VirtualAddress =
            address;
        CHECK(!ResourceDirectory(copy.get()).findForEverybody(kData, 7));
    }
}

TEST_CASE("an entry that leads to no table leaves the answer to the system") {
    const Library library(threeTypes());
    Copy copy(library.get());

    copy.entry(copy.table(0), kData).OffsetToData &= ~IMAGE_RESOURCE_DATA_IS_DIRECTORY;

    CHECK(!ResourceDirectory(copy.get()).findForEverybody(kData, 7));
}

TEST_CASE("a language that has a name leaves the answer to the system") {
    const Library library(threeTypes());
    Copy copy(library.get());
    auto& names = copy.table(copy.entry(copy.table(0), kData).OffsetToDirectory);
    auto& languages = copy.table(copy.entry(names, 7).OffsetToDirectory);

    languages.NumberOfNamedEntries = 1;

    CHECK(!ResourceDirectory(copy.get()).findForEverybody(kData, 7));
}

TEST_CASE("a type whose name runs beyond its library means nothing") {
    const Library library(threeTypes().resource(L"PALETTE", MAKEINTRESOURCEW(7), "of a name"));
    Copy copy(library.get());
    auto* const named = reinterpret_cast<IMAGE_RESOURCE_DIRECTORY_ENTRY*>(&copy.table(0) + 1);
    const std::size_t last = copy.units() - 1;

    named->Name = IMAGE_RESOURCE_NAME_IS_STRING | static_cast<DWORD>(last * sizeof(WORD));
    copy.unit(last) = 3;  // characters, as in "MUI"

    CHECK(ResourceDirectory(copy.get()).findForEverybody(kData, 7));
}

TEST_CASE("a directory is never read beyond its library whatever stands in it") {
    const Library library(threeTypes().resource(L"PALETTE", MAKEINTRESOURCEW(7), "of a name"));
    Copy copy(library.get());
    std::mt19937 random(7);  // the same damage in every run
    const std::size_t meant = std::min<std::size_t>(copy.units(), 400);
    int found = 0;
    for (int round = 0; round < 20000; ++round) {
        for (int damage = 0; damage < 1 + round % 4; ++damage) {
            const WORD values[] = {0,
                                   1,
                                   0x7FFF,
                                   0x8000,
                                   0xFFFF,
                                   static_cast<WORD>(copy.units() * sizeof(WORD)),
                                   static_cast<WORD>(random())};
            copy.unit(random() % meant) = values[random() % std::size(values)];
        }
        for (const WORD type : {WORD{5}, kData, WORD{300}}) {
            found += ResourceDirectory(copy.get()).findForEverybody(type, 7).has_value();
        }
        copy.restore();
    }
    CHECK(found > 0);
}

}  // namespace
