#include "tools/satellites/Resolve.h"

#include <doctest/doctest.h>

#include <string>
#include <vector>

#include "i18nres/Manager.h"
#include "tests/support/Apartment.h"
#include "tests/support/PrintedWide.h"
#include "tests/support/SatelliteFolder.h"

namespace {

using namespace satellites;
using testsupport::LoadedModule;
using testsupport::ManagerSession;
using testsupport::ResourceLibrary;
using testsupport::SatelliteFolder;

constexpr unsigned kId = 7;

// The possible states of a satellite file: no file, a library with the requested string, a library
// with a different string, or a text file.
enum class Content { noFile, string, otherString, text };
constexpr Content kContents[] = {Content::noFile, Content::string, Content::otherString,
                                 Content::text};

void put(SatelliteFolder& folder, const std::wstring& name, Content content) {
    switch (content) {
        case Content::noFile:
            std::filesystem::remove(folder.file(name));
            break;
        case Content::string:
            folder.put(name, ResourceLibrary().string(kId, name));
            break;
        case Content::otherString:
            folder.put(name, ResourceLibrary().string(kId + 1, name));
            break;
        case Content::text:
            folder.put(name, std::string("not a library"));
    }
}

std::wstring byLibrary(const ResolveRequest& request) {
    const ManagerSession manager;
    REQUIRE(manager->setCulture(request.culture.c_str()));
    REQUIRE(manager->setDefaultCulture(request.defaultCulture.c_str()));
    manager->setResourcePath(request.resourcePath.c_str());
    manager->useResourcePathOnly(request.resourcePathOnly);
    std::wstring text;
    manager->loadStdStringW(request.module.c_str(), request.id.value_or(kId), text);
    return text;
}

std::wstring byTool(const ResolveRequest& request) {
    const Resolution resolution = resolve(request);
    return resolution.match ? resolution.match->text : L"";
}

// Checks, for each combination of states of the files in `names`, that the tool and the library
// find the same string.
void compareAll(SatelliteFolder& folder, ResolveRequest request,
                const std::vector<std::wstring>& names, std::size_t index = 0) {
    if (index == names.size()) {
        CHECK(byTool(request) == byLibrary(request));
        return;
    }
    for (const Content content : kContents) {
        put(folder, names[index], content);
        CAPTURE(names[index]);
        CAPTURE(static_cast<int>(content));
        compareAll(folder, request, names, index + 1);
    }
}

TEST_CASE("resolve finds the same string as the library for all combinations of satellites") {
    const testsupport::Apartment apartment;
    SatelliteFolder folder;
    folder.put(L"app.dll", ResourceLibrary().string(kId, L"module"));
    const LoadedModule module(folder.file(L"app.dll"));
    ResolveRequest request;
    request.module = folder.file(L"app.dll");
    request.id = kId;
    request.resourcePathOnly = true;

    request.culture = L"fr-CA";
    compareAll(folder, request, {L"app_fr-CA.dll", L"app_fr.dll", L"app_en-US.dll", L"app_en.dll"});
}

TEST_CASE("resolve finds the same string as the library for related cultures") {
    const testsupport::Apartment apartment;
    SatelliteFolder folder;
    folder.put(L"app.dll", ResourceLibrary().string(kId, L"module"));
    const LoadedModule module(folder.file(L"app.dll"));
    ResolveRequest request;
    request.module = folder.file(L"app.dll");
    request.id = kId;
    request.resourcePathOnly = true;

    for (const wchar_t* culture : {L"en-GB", L"en-US", L"en", L"fr"}) {
        request.culture = culture;
        compareAll(folder, request, {L"app_en-GB.dll", L"app_en-US.dll", L"app_en.dll"});
    }
}

TEST_CASE("resolve searches the resource path after the folder of the module") {
    const testsupport::Apartment apartment;
    SatelliteFolder folder;
    folder.put(L"app.dll", ResourceLibrary());
    folder.put(L"more\\app_fr.dll", ResourceLibrary());
    const LoadedModule module(folder.file(L"app.dll"));
    ResolveRequest request;
    request.module = folder.file(L"app.dll");
    request.culture = L"fr";
    request.resourcePath = folder.file(L"more\\");
    request.resourcePathOnly = true;
    request.id = kId;

    compareAll(folder, request, {L"app_fr.dll", L"more\\app_fr.dll", L"app_en-US.dll"});
}

TEST_CASE("resolve finds the same strings as the library in damaged string tables") {
    const testsupport::Apartment apartment;
    const ResourceLibrary damaged =
        ResourceLibrary().stringBlock(1, L"\x02ok\x50x").string(17, L"next block");
    SatelliteFolder folder;
    folder.put(L"app.dll", damaged);
    const LoadedModule module(folder.file(L"app.dll"));
    ResolveRequest request;
    request.module = folder.file(L"app.dll");
    request.culture = L"fr";
    request.resourcePathOnly = true;

    for (const bool hasSatellite : {false, true}) {
        if (hasSatellite) folder.put(L"app_fr.dll", damaged);
        for (const unsigned id : {0u, 1u, 2u, 17u, 18u}) {
            CAPTURE(id);
            request.id = id;
            CHECK(byTool(request) == byLibrary(request));
        }
        request.id = 17;
        CHECK(byTool(request) == L"next block");
    }
}

TEST_CASE("resolve reports the result of each file") {
    SatelliteFolder folder;
    folder.put(L"app.dll", ResourceLibrary().string(kId, L"module"));
    put(folder, L"app_fr.dll", Content::otherString);
    put(folder, L"app_en-US.dll", Content::text);
    ResolveRequest request;
    request.module = folder.file(L"app.dll");
    request.culture = L"fr-CA";
    request.resourcePathOnly = true;
    request.id = kId;

    std::vector<std::wstring> results;
    for (const ResolveStep& step : resolve(request).steps) {
        results.push_back(std::wstring(step.role) + L" " + step.result);
    }

    CHECK(results == std::vector<std::wstring>{L"culture not-there", L"culture no-string",
                                               L"default not-a-library", L"default not-there",
                                               L"module answers"});
}

}  // namespace
