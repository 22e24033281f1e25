#include "tools/satellites/ResourceFile.h"

#include <doctest/doctest.h>

#include <cstddef>
#include <random>
#include <string>
#include <vector>

#include "tests/support/PrintedWide.h"
#include "tests/support/ResourceLibrary.h"
#include "tools/satellites/Catalogue.h"
#include "tools/satellites/Failure.h"
#include "tools/satellites/Files.h"
#include "tools/satellites/StringTable.h"

namespace {

using namespace satellites;
using testsupport::ResourceLibrary;
using testsupport::WrongDataEntry;

std::vector<std::byte> bytesOf(const std::string& image) {
    const auto* const first = reinterpret_cast<const std::byte*>(image.data());
    return {first, first + image.size()};
}

// Returns the reason why a file cannot be read, or an empty string if it can be read.
std::wstring refusalOf(const std::string& image) {
    try {
        textsOf(ResourceFile(bytesOf(image)));
        return L"";
    } catch (const Unreadable& unreadable) {
        return unreadable.reason;
    }
}

Strings stringsOf(const ResourceFile& file) {
    const StringTable table(file);
    return {table.begin(), table.end()};
}

bool isReadable(const std::string& image) { return refusalOf(image).empty(); }

ResourceLibrary sample() {
    return ResourceLibrary()
        .string(1, L"Open")
        .string(17, L"Close")
        .resource(L"XML", MAKEINTRESOURCEW(3), "<a/>")
        .resource(RT_HTML, L"START", "<html/>")
        .menu(1, 3);
}

std::wstring ownFile() {
    wchar_t path[MAX_PATH];
    return {path, ::GetModuleFileNameW(nullptr, path, MAX_PATH)};
}

TEST_CASE("ResourceFile lists the resources of a library") {
    const ResourceFile file(bytesOf(sample().image()));

    CHECK(file.machine() == IMAGE_FILE_MACHINE_AMD64);
    CHECK_FALSE(file.hasCode());
    CHECK(file.resources().size() == 5);
    CHECK(file.ofType(RT_STRING).size() == 2);
    CHECK(file.find(RT_HTML, L"START").size() == 7);
    CHECK(file.find(L"XML", MAKEINTRESOURCEW(3)).size() == 4);
    CHECK(file.find(L"XML", MAKEINTRESOURCEW(4)).empty());
}

TEST_CASE("StringTable returns the nonempty strings in the order of their identifiers") {
    const ResourceFile file(bytesOf(sample().image()));

    CHECK(stringsOf(file) == Strings{{1, L"Open"}, {17, L"Close"}});
}

TEST_CASE("makeStringBlock writes the block that StringTable reads") {
    const Strings strings = {{16, L"first"}, {31, std::wstring(L"a\0b", 3)}, {32, L"next block"}};
    const std::vector<std::byte> block = makeStringBlock(blockOf(16), strings);
    const std::wstring_view units(reinterpret_cast<const wchar_t*>(block.data()),
                                  block.size() / sizeof(wchar_t));

    const ResourceFile file(bytesOf(ResourceLibrary().stringBlock(2, units).image()));

    CHECK(stringsOf(file) == Strings{{16, L"first"}, {31, std::wstring(L"a\0b", 3)}});
}

TEST_CASE("ResourceFile reports that a program contains code") {
    CHECK(ResourceFile(readFile(ownFile())).hasCode());
}

TEST_CASE("ResourceFile rejects files that are not PE files") {
    CHECK_FALSE(isReadable(""));
    CHECK_FALSE(isReadable("MZ"));
    CHECK_FALSE(isReadable("hello"));
    CHECK_FALSE(isReadable(std::string(4096, '\0')));
}

TEST_CASE("ResourceFile rejects a library that is truncated at any position") {
    const std::string image = sample().image();
    for (std::size_t length = 0; length < image.size(); ++length) {
        CAPTURE(length);
        CHECK_FALSE(isReadable(image.substr(0, length)));
    }
}

TEST_CASE("ResourceFile rejects resources outside their section") {
    for (const WrongDataEntry wrong :
         {WrongDataEntry{0x10000, 0}, WrongDataEntry{0, 0x10000}, WrongDataEntry{0xFFFFFFFF, 0}}) {
        CHECK_FALSE(isReadable(
            ResourceLibrary().resource(RT_HTML, MAKEINTRESOURCEW(1), "page", wrong).image()));
    }
}

TEST_CASE("ResourceFile rejects thousands of sections, which no loader accepts") {
    std::string image = sample().image();
    const std::size_t signature = image.find(std::string("PE\0\0", 4));
    REQUIRE(signature != std::string::npos);
    image[signature + 7] = 1;  // the high byte of the number of sections

    CHECK(refusalOf(image) == L"it has more than 96 sections");
}

TEST_CASE("ResourceFile rejects many large resources in the same bytes") {
    ResourceLibrary library;
    for (WORD id = 1; id <= 200; ++id) {
        library.resource(RT_HTML, MAKEINTRESOURCEW(id), "x", WrongDataEntry{60'000, 0});
    }
    library.resource(RT_HTML, MAKEINTRESOURCEW(201), std::string(70'000, 'x'));

    CHECK(refusalOf(library.image()) == L"many of its resources share the same bytes");
}

TEST_CASE("ResourceFile rejects many resources that share a long name") {
    std::string image = ResourceLibrary()
                            .resource(std::wstring(60'000, L'N').c_str(), MAKEINTRESOURCEW(1), "x")
                            .image();
    CHECK(isReadable(image));

    ResourceLibrary library;
    for (WORD id = 1; id <= 100; ++id) {
        library.resource(std::wstring(60'000, L'N').c_str(), MAKEINTRESOURCEW(id), "x");
    }
    CHECK(refusalOf(library.image()) == L"many of its resources share the same bytes");
}

TEST_CASE("A truncated string block makes the file unreadable") {
    CHECK_FALSE(isReadable(ResourceLibrary().stringBlock(1, L"\x05Op").image()));
    CHECK_FALSE(isReadable(ResourceLibrary().stringBlock(1, L"").image()));
}

TEST_CASE("ResourceFile reads or rejects a damaged library without crashing") {
    const std::string whole = sample().image();
    std::mt19937 random(1);
    for (int round = 0; round < 5000; ++round) {
        std::string image = whole;
        for (int i = 0; i < 4; ++i) image[random() % image.size()] = static_cast<char>(random());
        isReadable(image);  // must neither crash nor loop endlessly
    }
}

}  // namespace
