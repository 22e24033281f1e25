#include "tools/satellites/Translate.h"

#include <doctest/doctest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "tests/support/PrintedWide.h"
#include "tests/support/SatelliteFolder.h"
#include "tools/satellites/Catalogue.h"
#include "tools/satellites/Export.h"
#include "tools/satellites/Failure.h"
#include "tools/satellites/Files.h"

namespace {

using namespace satellites;
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

TEST_CASE("exportPo marks translations from a menu of another shape as fuzzy") {
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

TEST_CASE("applyPo takes accelerator tables from the module that the base does not have") {
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

TEST_CASE("applyPo refuses a translation that a dialog would take for a number") {
    SatelliteFolder folder;
    folder.put(L"app.dll", ResourceLibrary().string(7, L"Open"));

    CHECK_THROWS_AS(
        apply(folder, "msgctxt \"STRING.7\"\nmsgid \"Open\"\nmsgstr \"\xEF\xBF\xBFx\"\n"), Failure);

    CHECK_FALSE(exists(folder.file(L"app_fr.dll")));
}

TEST_CASE("applyPo leaves the old satellite and no other file when it cannot be replaced") {
    SatelliteFolder folder;
    folder.put(L"app.dll", ResourceLibrary().string(7, L"Open"));
    folder.put(L"app_fr.dll", std::string("old"));
    {
        const std::ifstream inUse(std::filesystem::path(folder.file(L"app_fr.dll")));
        CHECK_THROWS_AS(apply(folder, kTranslatedString), Failure);
    }

    CHECK(readFile(folder.file(L"app_fr.dll")).size() == 3);
    const std::filesystem::directory_iterator files(folder.path());
    CHECK(std::distance(begin(files), end(files)) == 3);  // the module, its satellite and PO file
}

}  // namespace
