#include <windows.h>

#include <doctest/doctest.h>

#include <new>
#include <string>
#include <vector>

#include "i18nres/Manager.h"
#include "tests/support/AllocationSpy.h"
#include "tests/support/OtherThread.h"
#include "tests/support/SatelliteFolder.h"

namespace {

using testsupport::CurrentFolder;
using testsupport::ManagerSession;
using testsupport::otherThreadFinishes;
using testsupport::SatelliteFolder;
using Strings = std::vector<std::wstring>;

// The results of a call to getLocaleFileName. If the call succeeds, `file` is a path relative to
// the folder of the test.
struct FoundFile {
    bool isFound;
    std::wstring file = L"before";
    std::wstring culture = L"before";
};

FoundFile localized(const ManagerSession& manager, const SatelliteFolder& folder,
                    const wchar_t* file) {
    FoundFile found;
    found.isFound = manager->getLocaleFileName(folder.file(file), found.file, &found.culture);
    if (found.isFound) found.file = found.file.substr(folder.path().size());
    return found;
}

// getLocaleFileName

TEST_CASE(
    "getLocaleFileName returns the existing file whose tag comes first in the fallback list") {
    SatelliteFolder folder;
    const ManagerSession manager;
    REQUIRE(manager->setCulture(L"fr-CA"));

    for (const wchar_t* tag : {L"en", L"en-US", L"fr", L"fr-CA"}) {
        CAPTURE(tag);
        folder.put(std::wstring(L"guide_") + tag + L".chm", "");
        const FoundFile found = localized(manager, folder, L"guide.chm");
        CHECK(found.isFound);
        CHECK(found.file == std::wstring(L"guide_") + tag + L".chm");
        CHECK(found.culture == tag);
    }
}

TEST_CASE("getLocaleFileName never returns the file itself") {
    SatelliteFolder folder;
    folder.put(L"guide.chm", "");
    folder.put(L"guide_de.chm", "");
    const ManagerSession manager;
    REQUIRE(manager->setCulture(L"fr-CA"));

    const FoundFile found = localized(manager, folder, L"guide.chm");

    CHECK_FALSE(found.isFound);
    CHECK(found.file == L"before");
    CHECK(found.culture == L"before");
}

TEST_CASE("getLocaleFileName skips a folder that is named like a candidate") {
    SatelliteFolder folder;
    folder.put(L"guide_fr-CA.chm\\inside.txt", "");
    folder.put(L"guide_fr.chm", "");
    const ManagerSession manager;
    REQUIRE(manager->setCulture(L"fr-CA"));

    CHECK(localized(manager, folder, L"guide.chm").file == L"guide_fr.chm");
}

TEST_CASE("getLocaleFileName inserts the tag before the last dot of the name") {
    SatelliteFolder folder;
    folder.put(L"guide.tar_en.gz", "");
    folder.put(L"plain_en", "");
    folder.put(L"_en.hidden", "");
    folder.put(L"dotted.d\\guide_en", "");
    const ManagerSession manager;

    CHECK(localized(manager, folder, L"guide.tar.gz").file == L"guide.tar_en.gz");
    CHECK(localized(manager, folder, L"plain").file == L"plain_en");
    CHECK(localized(manager, folder, L".hidden").file == L"_en.hidden");
    CHECK(localized(manager, folder, L"dotted.d\\guide").file == L"dotted.d\\guide_en");
}

TEST_CASE("getLocaleFileName keeps slashes and relative paths") {
    SatelliteFolder folder;
    folder.put(L"sub\\guide_en.chm", "");
    const CurrentFolder current(folder.path());
    const ManagerSession manager;

    for (const wchar_t* path :
         {L"sub/guide", L"sub\\guide", L".\\sub\\guide", L"sub\\..\\sub/guide"}) {
        std::wstring result;
        CHECK(manager->getLocaleFileName(std::wstring(path) + L".chm", result, nullptr));
        CHECK(result == std::wstring(path) + L"_en.chm");
    }
}

TEST_CASE("getLocaleFileName does not require an output for the culture") {
    SatelliteFolder folder;
    folder.put(L"guide_en.chm", "");
    const ManagerSession manager;
    std::wstring result;

    CHECK(manager->getLocaleFileName(folder.file(L"guide.chm"), result, nullptr));

    CHECK(result == folder.file(L"guide_en.chm"));
}

TEST_CASE("getLocaleFileName can write its result over the file name") {
    SatelliteFolder folder;
    folder.put(L"guide_en.chm", "");
    const ManagerSession manager;
    std::wstring file = folder.file(L"guide.chm");

    CHECK(manager->getLocaleFileName(file, file, nullptr));

    CHECK(file == folder.file(L"guide_en.chm"));
}

TEST_CASE("getLocaleFileName rejects a path with a part of 260 characters or more") {
    const ManagerSession manager;
    const std::wstring part(260, L'x');
    for (const std::wstring& file :
         {part, L"C:\\" + part + L"\\guide.chm", L"guide." + part, std::wstring(40000, L'x')}) {
        std::wstring result = L"before", culture = L"before";
        CHECK_FALSE(manager->getLocaleFileName(file, result, &culture));
        CHECK(result == L"before");
        CHECK(culture == L"before");
    }
}

TEST_CASE("getLocaleFileName does not access the disk for a path that is too long") {
    SatelliteFolder folder;
    folder.put(L"guide_en.chm", "");
    const ManagerSession manager;
    std::wstring file = folder.path();
    while (file.size() < 270) file += L".\\";
    std::wstring result = L"before";

    CHECK_FALSE(manager->getLocaleFileName(file + L"guide.chm", result, nullptr));

    CHECK(result == L"before");
}

TEST_CASE("getLocaleFileName finds nothing for names that no file can have") {
    const ManagerSession manager;
    for (const wchar_t* file : {L"", L"\\", L"C:", L"*.chm", L"a|b", L"\\\\server\\share\\guide",
                                L"\\\\.\\nothing", L"nul:\\guide"}) {
        CAPTURE(file);
        std::wstring result = L"before";
        CHECK_FALSE(manager->getLocaleFileName(file, result, nullptr));
        CHECK(result == L"before");
    }
}

TEST_CASE("getLocaleFileName reads a file name up to its terminator") {
    SatelliteFolder folder;
    folder.put(L"guide_en.chm", "");
    const ManagerSession manager;
    std::wstring result;

    CHECK(manager->getLocaleFileName(folder.file(std::wstring(L"guide.chm\0.txt", 14)), result,
                                     nullptr));

    CHECK(result == folder.file(L"guide_en.chm"));
}

TEST_CASE("getLocaleFileName releases the lock and keeps its outputs when memory runs out") {
    SatelliteFolder folder;
    folder.put(L"guide_en.chm", "");
    const ManagerSession manager;
    const std::wstring file = folder.file(L"guide.chm");
    std::wstring result, culture;

    const long failures = testsupport::sweepAllocationFailures(
        [&] {
            result = culture = L"before";
            try {
                manager->getLocaleFileName(file, result, &culture);
            } catch (const std::bad_alloc&) {
            }
        },
        [&](long failure) {
            CAPTURE(failure);
            CHECK(result == L"before");
            CHECK(culture == L"before");
            CHECK(otherThreadFinishes([&] { manager->setResourcePath(L""); }));
        });

    CHECK(failures >= 3);
    CHECK(result == folder.file(L"guide_en.chm"));
}

// selectLocaleFileName

std::wstring selected(const ManagerSession& manager, const std::wstring& file, Strings available) {
    std::wstring culture = L"before";
    const auto hit = manager->selectLocaleFileName(file, available, &culture);
    if (hit == available.end()) {
        CHECK(culture == L"before");
        return L"end";
    }
    CHECK(*hit == culture);
    return *hit;
}

TEST_CASE("selectLocaleFileName returns the entry that comes first in the fallback list") {
    const ManagerSession manager;
    REQUIRE(manager->setCulture(L"fr-CA"));

    CHECK(selected(manager, L"guide.chm", {L"en", L"en-US", L"fr", L"fr-CA"}) == L"fr-CA");
    CHECK(selected(manager, L"guide.chm", {L"en", L"en-US", L"fr"}) == L"fr");
    CHECK(selected(manager, L"guide.chm", {L"en", L"en-US", L"fr-FR"}) == L"en-US");
    CHECK(selected(manager, L"guide.chm", {L"en"}) == L"en");
    CHECK(selected(manager, L"guide.chm", {L"de", L"FR-CA"}) == L"end");
    CHECK(selected(manager, L"guide.chm", {}) == L"end");
}

TEST_CASE("selectLocaleFileName returns the first of equal entries") {
    const ManagerSession manager;
    Strings available = {L"de", L"en", L"en"};

    CHECK(manager->selectLocaleFileName(L"", available, nullptr) == available.begin() + 1);
}

TEST_CASE("selectLocaleFileName compares entire entries") {
    const ManagerSession manager;

    CHECK(selected(manager, L"guide.chm", {L"guide_en.chm", L"en ", L"en-"}) == L"end");
}

TEST_CASE("selectLocaleFileName checks the file name only for parts of 260 characters or more") {
    const ManagerSession manager;

    CHECK(selected(manager, L"", {L"en"}) == L"en");
    CHECK(selected(manager, L"C:\\no\\such\\file", {L"en"}) == L"en");
    CHECK(selected(manager, std::wstring(259, L'x'), {L"en"}) == L"en");
    CHECK(selected(manager, std::wstring(260, L'x'), {L"en"}) == L"end");
}

}  // namespace
