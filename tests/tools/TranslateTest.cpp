#include "tools/satellites/Translate.h"

#include <doctest/doctest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "tests/support/PrintedWide.h"
#include "tests/support/ReplacedImport.h"
#include "tests/support/SatelliteFolder.h"
#include "tools/satellites/Catalogue.h"
#include "tools/satellites/Export.h"
#include "tools/satellites/Failure.h"
#include "tools/satellites/Files.h"

namespace {

using namespace satellites;
using testsupport::ReplacedImport;
using testsupport::ResourceLibrary;
using testsupport::SatelliteFolder;

std::string exported(SatelliteFolder& folder) {
    return exportPo(folder.file(L"app.dll"), L"fr", folder.path());
}

bool isMarkedFuzzy(const std::string& po, const std::string& context) {
    return po.find("#, fuzzy\nmsgctxt \"" + context + "\"\n") != std::string::npos;
}

void apply(SatelliteFolder& folder, const std::string& po,
           const std::optional<std::wstring>& base = std::nullopt) {
    folder.put(L"fr.po", po);
    applyPo(folder.file(L"app.dll"), folder.file(L"fr.po"), L"fr", base,
            folder.file(L"app_fr.dll"));
}

constexpr const char* kTranslatedString =
    "msgctxt \"STRING.7\"\nmsgid \"Open\"\nmsgstr \"Ouvrir\"\n";

TEST_CASE("exportPo marks translations from a menu with another structure as fuzzy") {
    SatelliteFolder folder;
    folder.put(L"app.dll", ResourceLibrary().menu(1, 3));
    folder.put(L"app_fr.dll", ResourceLibrary().menu(1, 3));
    CHECK_FALSE(isMarkedFuzzy(exported(folder), "MENU.1/0"));

    folder.put(L"app_fr.dll", ResourceLibrary().menu(1, 2));
    const std::string po = exported(folder);

    CHECK(isMarkedFuzzy(po, "MENU.1/0"));
    CHECK(isMarkedFuzzy(po, "MENU.1/1"));
    CHECK_FALSE(isMarkedFuzzy(po, "MENU.1/2"));  // not translated
}

TEST_CASE("applyPo copies accelerator tables from the module if the base does not have them") {
    const std::string table("\x80\0A\0\1\0\0\0", 8);
    SatelliteFolder folder;
    folder.put(L"app.dll", ResourceLibrary()
                               .string(7, L"Open")
                               .resource(RT_ACCELERATOR, MAKEINTRESOURCEW(1), table)
                               .resource(RT_ACCELERATOR, MAKEINTRESOURCEW(2), table));
    folder.put(L"base.dll", ResourceLibrary().resource(RT_ACCELERATOR, MAKEINTRESOURCEW(1), table));

    apply(folder, kTranslatedString, folder.file(L"base.dll"));

    const ResourceFile satellite = readResourceFile(folder.file(L"app_fr.dll"));
    CHECK(satellite.ofType(RT_ACCELERATOR).size() == 2);
}

int s_emptyResources = 0;
int s_nullPointers = 0;

// Replaces UpdateResourceW. Counts the empty resources and the null pointers, and writes nothing.
BOOL WINAPI countResources(HANDLE, LPCWSTR, LPCWSTR, WORD, LPVOID data, DWORD size) {
    if (size == 0) ++s_emptyResources;
    if (!data) ++s_nullPointers;
    return TRUE;
}

TEST_CASE("applyPo adds an empty resource of the base with a pointer that is not null") {
    SatelliteFolder folder;
    folder.put(L"app.dll", ResourceLibrary().string(7, L"Open"));
    folder.put(L"base.dll", ResourceLibrary().resource(RT_HTML, L"EMPTY", ""));
    s_emptyResources = s_nullPointers = 0;
    const ReplacedImport<decltype(UpdateResourceW)> counted("UpdateResourceW", &countResources,
                                                            ::GetModuleHandleW(nullptr));

    apply(folder, kTranslatedString, folder.file(L"base.dll"));

    CHECK(s_emptyResources == 1);
    CHECK(s_nullPointers == 0);  // a null pointer would delete the resource
}

// Replaces UpdateResourceW. Refuses empty resources, as Wine does, and writes nothing.
BOOL WINAPI refuseEmptyResources(HANDLE, LPCWSTR, LPCWSTR, WORD, LPVOID, DWORD size) {
    return size > 0;
}

TEST_CASE("applyPo reports an empty resource that the system cannot write") {
    SatelliteFolder folder;
    folder.put(L"app.dll", ResourceLibrary().string(7, L"Open"));
    folder.put(L"base.dll", ResourceLibrary().resource(RT_HTML, L"EMPTY", ""));
    const ReplacedImport<decltype(UpdateResourceW)> refused(
        "UpdateResourceW", &refuseEmptyResources, ::GetModuleHandleW(nullptr));

    std::wstring reason;
    try {
        apply(folder, kTranslatedString, folder.file(L"base.dll"));
    } catch (const Failure& failure) {
        reason = failure.text;
    }

    CHECK(reason == L"the resource 23/EMPTY is empty; the system cannot write empty resources");
    CHECK_FALSE(exists(folder.file(L"app_fr.dll")));
}

TEST_CASE("applyPo rejects a translation that a dialog would treat as a number") {
    SatelliteFolder folder;
    folder.put(L"app.dll", ResourceLibrary().string(7, L"Open"));

    CHECK_THROWS_AS(
        apply(folder, "msgctxt \"STRING.7\"\nmsgid \"Open\"\nmsgstr \"\xEF\xBF\xBFx\"\n"), Failure);

    CHECK_FALSE(exists(folder.file(L"app_fr.dll")));
}

TEST_CASE("exportPo and applyPo keep embedded NULs and the symbols that represent them") {
    using namespace std::string_literals;
    struct Row {
        std::wstring original, translation;
    };
    for (const Row& row :
         {Row{L"Open", L"Ouvrir\0"s}, Row{L"Open\0"s, L"Ouvrir\0"s}, Row{L"Open\0"s, L"Ouvrir"},
          Row{L"Text\0*.txt\0"s, L"Texte\0*.txt\0"s}, Row{L"Open \u2400", L"Ouvrir \u2400"},
          Row{L"Open", L"Ouvrir \u2400"}, Row{L"\u2400 is \0"s, L"\u2400 vaut \0"s},
          Row{L"Open", L"\u241B\0\0\u2400"s}, Row{L"\u241B\u2400", L"\u241B\u241B\u2400\u2400"},
          Row{L"\u241B", L"\u241B!"}}) {
        CAPTURE(row.original);
        CAPTURE(row.translation);
        SatelliteFolder folder;
        folder.put(L"app.dll", ResourceLibrary().string(7, row.original));
        folder.put(L"app_fr.dll", ResourceLibrary().string(7, row.translation));

        const std::string po = exported(folder);
        apply(folder, po);

        const ResourceFile satellite = readResourceFile(folder.file(L"app_fr.dll"));
        const StringTable strings(satellite);
        REQUIRE(strings.size() == 1);
        CHECK(strings.begin()->second == row.translation);
    }
}

TEST_CASE("exportPo explains the symbol for an embedded NUL in a translation") {
    SatelliteFolder folder;
    folder.put(L"app.dll", ResourceLibrary().string(7, L"Open"));
    folder.put(L"app_fr.dll", ResourceLibrary().string(7, std::wstring_view(L"Ouvrir\0", 7)));

    const std::string po = exported(folder);

    CHECK(po.find("#. \xE2\x90\x80 separates the parts of the text. Keep it.\n") !=
          std::string::npos);
    CHECK(po.find("msgstr \"Ouvrir\xE2\x90\x80\"\n") != std::string::npos);
}

TEST_CASE("applyPo keeps the symbol for NUL in a menu, where a NUL would end the string") {
    SatelliteFolder folder;
    folder.put(L"app.dll", ResourceLibrary().menu(1, 1));
    const ResourceFile module = readModule(folder.file(L"app.dll"));
    const std::wstring original = textsByContext(module).at(L"MENU.1/0");

    const std::string po = "msgctxt \"MENU.1/0\"\nmsgid \"" +
                           std::string(original.begin(), original.end()) +
                           "\"\nmsgstr \"a\xE2\x90\x80\x62\"\n";
    apply(folder, po);

    const auto texts = textsByContext(readResourceFile(folder.file(L"app_fr.dll")));
    CHECK(texts.at(L"MENU.1/0") == L"a\u2400b");
}

TEST_CASE(
    "applyPo keeps the old satellite and leaves no other file if it cannot replace the satellite") {
    SatelliteFolder folder;
    folder.put(L"app.dll", ResourceLibrary().string(7, L"Open"));
    folder.put(L"app_fr.dll", std::string("old"));
    {
        const std::ifstream inUse(std::filesystem::path(folder.file(L"app_fr.dll")));
        CHECK_THROWS_AS(apply(folder, kTranslatedString), Failure);
    }

    CHECK(readFile(folder.file(L"app_fr.dll")).size() == 3);
    const std::filesystem::directory_iterator files(folder.path());
    CHECK(std::distance(begin(files), end(files)) == 3);  // module, satellite and PO file
}

}  // namespace
