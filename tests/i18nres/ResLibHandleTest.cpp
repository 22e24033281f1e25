#include <windows.h>

#include <doctest/doctest.h>

#include <string>

#include "i18nres/Manager.h"
#include "tests/i18nres/ProtectedManager.h"
#include "tests/i18nres/SatelliteFiles.h"
#include "tests/support/ReplacedImport.h"
#include "tests/support/SatelliteFolder.h"

namespace {

using testsupport::LoadedModule;
using testsupport::ManagerSession;
using testsupport::ReplacedImport;
using testsupport::ResourceLibrary;
using testsupport::SatelliteFolder;

TEST_CASE("getResLibHandle without a name returns the first loaded library") {
    SatelliteFolder folder;
    folder.put(L"ledger.dll", ResourceLibrary());
    folder.put(L"ledger_fr-CA.dll", ResourceLibrary());
    folder.put(L"ledger_en-US.dll", ResourceLibrary());
    folder.put(L"plain.dll", ResourceLibrary());
    const LoadedModule module(folder.file(L"ledger.dll")), plain(folder.file(L"plain.dll"));
    const ManagerSession manager;
    REQUIRE(manager->setCulture(L"fr-CA"));
    const auto handle = [&](const wchar_t* name) {
        return fileOf(manager->getResLibHandle(name, nullptr, nullptr), folder);
    };

    CHECK(handle(L"ledger.dll") == L"ledger_fr-CA.dll");
    CHECK(handle(L"plain.dll") == L"plain.dll");
    CHECK(handle(L"missing.dll") == L"none");
    manager->setCulture(nullptr);
    CHECK(handle(L"ledger.dll") == L"ledger_en-US.dll");
}

TEST_CASE("getResLibHandle returns the first library that has the resource") {
    SatelliteFolder folder;
    folder.put(L"ledger.dll", ResourceLibrary()
                                  .resource(RT_HTML, MAKEINTRESOURCEW(1), "1")
                                  .resource(RT_HTML, MAKEINTRESOURCEW(2), "2")
                                  .resource(L"XML", L"PAGE", "3"));
    folder.put(L"ledger_en-US.dll", ResourceLibrary().resource(RT_HTML, MAKEINTRESOURCEW(2), "2"));
    folder.put(L"ledger_fr-CA.dll", ResourceLibrary().resource(RT_HTML, MAKEINTRESOURCEW(3), "3"));
    const LoadedModule module(folder.file(L"ledger.dll"));
    const ManagerSession manager;
    REQUIRE(manager->setCulture(L"fr-CA"));
    const auto handle = [&](const wchar_t* name, const wchar_t* type) {
        return fileOf(manager->getResLibHandle(L"ledger.dll", name, type), folder);
    };

    CHECK(handle(MAKEINTRESOURCEW(1), RT_HTML) == L"ledger.dll");
    CHECK(handle(MAKEINTRESOURCEW(2), RT_HTML) == L"ledger_en-US.dll");
    CHECK(handle(MAKEINTRESOURCEW(3), RT_HTML) == L"ledger_fr-CA.dll");
    CHECK(handle(L"PAGE", L"XML") == L"ledger.dll");
    CHECK(handle(MAKEINTRESOURCEW(4), RT_HTML) == L"none");
    CHECK(handle(MAKEINTRESOURCEW(1), RT_RCDATA) == L"none");
    CHECK(handle(MAKEINTRESOURCEW(1), nullptr) == L"none");
}

TEST_CASE("getResLibHandle finds an icon only if LoadImageW can create it") {
    SatelliteFolder folder;
    folder.put(L"ledger.dll", ResourceLibrary().icon(1, 16));
    // The icon group in the satellite refers to an image that does not exist.
    folder.put(L"ledger_fr-CA.dll",
               ResourceLibrary().resource(
                   RT_GROUP_ICON, MAKEINTRESOURCEW(1),
                   std::string("\0\0\1\0\1\0\20\20\0\0\1\0\40\0\0\1\0\0\11\0", 20)));
    const LoadedModule module(folder.file(L"ledger.dll"));
    const ManagerSession manager;
    REQUIRE(manager->setCulture(L"fr-CA"));

    for (const wchar_t* type : {RT_ICON, RT_GROUP_ICON}) {
        CHECK(manager->getResLibHandle(L"ledger.dll", MAKEINTRESOURCEW(1), type) == module.get());
        CHECK(manager->getResLibHandle(L"ledger.dll", MAKEINTRESOURCEW(2), type) == nullptr);
    }
}

int g_iconsMade, g_iconsDestroyed;
decltype(&::LoadImageW) g_loadImage;
decltype(&::DestroyIcon) g_destroyIcon;
UINT g_imageType, g_imageFlags;

HANDLE WINAPI countLoadedImage(HINSTANCE library, const wchar_t* name, UINT type, int width,
                               int height, UINT flags) {
    const HANDLE image = g_loadImage(library, name, type, width, height, flags);
    g_iconsMade += image != nullptr;
    g_imageType = type;
    g_imageFlags = width == 0 && height == 0 ? flags : 0;
    return image;
}

BOOL WINAPI countDestroyedIcon(HICON icon) {
    ++g_iconsDestroyed;
    return g_destroyIcon(icon);
}

TEST_CASE("getResLibHandle destroys the icon that it created for the check") {
    SatelliteFolder folder;
    folder.put(L"ledger.dll", ResourceLibrary().icon(1, 16));
    const LoadedModule module(folder.file(L"ledger.dll"));
    const ManagerSession manager;
    const ReplacedImport loadImage("LoadImageW", &countLoadedImage);
    const ReplacedImport destroyIcon("DestroyIcon", &countDestroyedIcon);
    g_loadImage = loadImage.original();
    g_destroyIcon = destroyIcon.original();
    g_iconsMade = g_iconsDestroyed = 0;

    CHECK(manager->getResLibHandle(L"ledger.dll", MAKEINTRESOURCEW(1), RT_GROUP_ICON) ==
          module.get());

    CHECK(g_iconsMade == 1);
    CHECK(g_iconsDestroyed == 1);
    CHECK(g_imageType == IMAGE_ICON);
    CHECK(g_imageFlags == LR_DEFAULTSIZE);
}

TEST_CASE("getResLibHandle returns null for a null module") {
    const ManagerSession manager;

    CHECK(manager->getResLibHandle(nullptr, nullptr, nullptr) == nullptr);
}

TEST_CASE("getResLibHandle does not search a module that has been freed") {
    SatelliteFolder folder;
    folder.put(L"ledger.dll", ResourceLibrary());
    folder.put(L"ledger_en-US.dll", ResourceLibrary());
    const ManagerSession manager;
    {
        const LoadedModule module(folder.file(L"ledger.dll"));
        REQUIRE(manager->getResLibHandle(L"ledger.dll", nullptr, nullptr) != nullptr);
    }

    CHECK(manager->getResLibHandle(L"ledger.dll", MAKEINTRESOURCEW(1), RT_HTML) == nullptr);
}

}  // namespace
