#include "tools/satellites/Check.h"

#include <doctest/doctest.h>

#include <filesystem>
#include <string>

#include "tests/support/PrintedWide.h"
#include "tests/support/SatelliteFolder.h"

namespace {

using namespace satellites;
using testsupport::ResourceLibrary;
using testsupport::SatelliteFolder;

TEST_CASE("check reports a satellite that cannot be opened as unreadable") {
    SatelliteFolder folder;
    folder.put(L"app.dll", ResourceLibrary().string(7, L"Open"));
    std::filesystem::create_directory(folder.file(L"app_fr.dll"));
    const ResourceFile module = readModule(folder.file(L"app.dll"));

    const SatelliteReport report =
        CheckedModule(module).check(folder.file(L"app_fr.dll"), L"fr", std::nullopt);

    REQUIRE(report.findings.size() == 1);
    CHECK(report.findings[0].code == std::wstring(L"unreadable"));
    CHECK(report.strings.missing == 1);
}

}  // namespace
