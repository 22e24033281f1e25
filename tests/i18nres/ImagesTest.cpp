#include <windows.h>

#include <doctest/doctest.h>

#include <string>
#include <vector>

#include "i18nres/i18nres.h"
#include "tests/i18nres/Ledger.h"
#include "tests/support/LeakListener.h"
#include "tests/support/ReplacedImport.h"

namespace {

using i18nres::Manager;
using testsupport::ReplacedImport;
using testsupport::ResourceLibrary;

const wchar_t* number(unsigned short id) { return MAKEINTRESOURCEW(id); }

// Images

// The module and both satellites contain image 1. The module and the satellite for the default
// culture contain image 2. Only the module contains image 3. The libraries contain images of
// different sizes, so the size of an image identifies its library.
class LedgerWithImages : public Ledger {
public:
    LedgerWithImages()
        : Ledger(ResourceLibrary()
                     .icon(1, 48)
                     .icon(2, 48)
                     .icon(3, 48)
                     .cursor(1, 48)
                     .cursor(2, 48)
                     .cursor(3, 48)
                     .bitmap(1, 48)
                     .bitmap(2, 48)
                     .bitmap(3, 48),
                 ResourceLibrary()
                     .icon(1, 32)
                     .icon(2, 32)
                     .cursor(1, 32)
                     .cursor(2, 32)
                     .bitmap(1, 32)
                     .bitmap(2, 32),
                 ResourceLibrary().icon(1, 16).cursor(1, 16).bitmap(1, 16)) {}
};

int widthOf(HBITMAP bitmap) {
    BITMAP info = {};
    if (!bitmap || !::GetObjectW(bitmap, sizeof info, &info)) return 0;
    return info.bmWidth;
}

// Returns the width of the icon and destroys the icon. Returns 0 if `icon` is null.
int widthOf(HICON icon) {
    ICONINFO info = {};
    if (!icon || !::GetIconInfo(icon, &info)) return 0;
    const int width = widthOf(info.hbmColor ? info.hbmColor : info.hbmMask);
    ::DeleteObject(info.hbmColor);
    ::DeleteObject(info.hbmMask);
    ::DestroyIcon(icon);
    return width;
}

int measureAndDelete(HBITMAP bitmap) {
    const int width = widthOf(bitmap);
    ::DeleteObject(bitmap);
    return width;
}

TEST_CASE("loadImage searches both satellites and then the module") {
    const LedgerWithImages ledger;
    const int widths[] = {16, 32, 48, 0};
    for (unsigned short id = 1; id <= 4; ++id) {
        CAPTURE(id);
        const int width = widths[id - 1];
        const auto load = [&](UINT type) {
            return ledger->loadImage(kLedger, number(id), type, 0, 0, 0);
        };
        CHECK(widthOf(static_cast<HICON>(load(IMAGE_ICON))) == width);
        CHECK(widthOf(static_cast<HICON>(load(IMAGE_CURSOR))) == width);
        CHECK(measureAndDelete(static_cast<HBITMAP>(load(IMAGE_BITMAP))) == width);
    }
}

TEST_CASE("The other image loaders search in the same order as loadImage") {
    const LedgerWithImages ledger;
    const int widths[] = {16, 32, 48, 0};
    for (unsigned short id = 1; id <= 4; ++id) {
        CAPTURE(id);
        const int width = widths[id - 1];
        CHECK(widthOf(ledger->loadImageIcon(kLedger, number(id), 0, 0, 0)) == width);
        CHECK(widthOf(ledger->loadImageCursor(kLedger, number(id), 0, 0, 0)) == width);
        CHECK(measureAndDelete(ledger->loadImageBitmap(kLedger, number(id), 0, 0, 0)) == width);
    }
}

TEST_CASE("The flat image loaders forward to the manager") {
    const LedgerWithImages ledger;

    CHECK(measureAndDelete(static_cast<HBITMAP>(
              i18nres::loadImage(kLedger, number(1), IMAGE_BITMAP, 0, 0, 0))) == 16);
    CHECK(widthOf(i18nres::loadImageIcon(kLedger, number(1), 0, 0, 0)) == 16);
    CHECK(widthOf(i18nres::loadImageCursor(kLedger, number(1), 0, 0, 0)) == 16);
    CHECK(measureAndDelete(i18nres::loadImageBitmap(kLedger, number(1), 0, 0, 0)) == 16);
}

TEST_CASE("An image is scaled to the requested size") {
    const LedgerWithImages ledger;

    CHECK(widthOf(ledger->loadImageIcon(kLedger, number(1), 24, 24, 0)) == 24);
    CHECK(measureAndDelete(ledger->loadImageBitmap(kLedger, number(1), 24, 24, 0)) == 24);
}

TEST_CASE("An icon group without its image is skipped") {
    const std::string groupWithoutImage("\0\0\1\0\1\0\20\20\0\0\1\0\40\0\0\1\0\0\11\0", 20);
    const Ledger ledger(ResourceLibrary().icon(1, 48), ResourceLibrary(),
                        ResourceLibrary().resource(RT_GROUP_ICON, number(1), groupWithoutImage));

    CHECK(widthOf(ledger->loadImageIcon(kLedger, number(1), 0, 0, 0)) == 48);
}

TEST_CASE("The image loaders return null for a null name and a null or missing module") {
    const LedgerWithImages ledger;
    const struct {
        const wchar_t* module;
        const wchar_t* name;
    } rows[] = {{kLedger, nullptr}, {nullptr, number(1)}, {L"missing.dll", number(1)}};
    for (const auto& row : rows) {
        CHECK(ledger->loadImage(row.module, row.name, IMAGE_ICON, 0, 0, 0) == nullptr);
        CHECK(ledger->loadImageIcon(row.module, row.name, 0, 0, 0) == nullptr);
        CHECK(ledger->loadImageCursor(row.module, row.name, 0, 0, 0) == nullptr);
        CHECK(ledger->loadImageBitmap(row.module, row.name, 0, 0, 0) == nullptr);
    }
}

TEST_CASE("The flat loadImageCursor returns null if there is no manager") {
    REQUIRE(Manager::Instance() == nullptr);

    CHECK(i18nres::loadImageCursor(kLedger, number(1), 0, 0, 0) == nullptr);
}

struct ImageCall {
    std::wstring library;
    UINT type;
    int cx, cy;
    UINT flags;
    bool operator==(const ImageCall&) const = default;
};
std::vector<ImageCall> g_imageCalls;

HANDLE WINAPI refuseImage(HINSTANCE library, const wchar_t*, UINT type, int cx, int cy,
                          UINT flags) {
    wchar_t path[MAX_PATH];
    ::GetModuleFileNameW(library, path, MAX_PATH);
    g_imageCalls.push_back(
        {std::wstring(path).substr(std::wstring(path).rfind(L'\\') + 1), type, cx, cy, flags});
    return nullptr;
}

TEST_CASE("Each call to LoadImageW receives the caller's arguments unchanged") {
    const LedgerWithImages ledger;
    REQUIRE(ledger->getResLibHandle(kLedger, nullptr, nullptr) != nullptr);
    const ReplacedImport import("LoadImageW", &refuseImage);
    g_imageCalls.clear();

    CHECK(ledger->loadImage(kLedger, number(1), 77, 12, -34, 0xABCD) == nullptr);
    CHECK(g_imageCalls == std::vector<ImageCall>{{L"ledger_fr-CA.dll", 77, 12, -34, 0xABCD},
                                                 {L"ledger_en-US.dll", 77, 12, -34, 0xABCD},
                                                 {L"ledger.dll", 77, 12, -34, 0xABCD}});

    g_imageCalls.clear();
    ledger->loadImageIcon(kLedger, number(1), 5, 6, LR_SHARED);
    ledger->loadImageCursor(kLedger, number(1), 5, 6, LR_SHARED);
    ledger->loadImageBitmap(kLedger, number(1), 5, 6, LR_SHARED);
    REQUIRE(g_imageCalls.size() == 9);
    CHECK(g_imageCalls[0] == ImageCall{L"ledger_fr-CA.dll", IMAGE_ICON, 5, 6, LR_SHARED});
    CHECK(g_imageCalls[3] == ImageCall{L"ledger_fr-CA.dll", IMAGE_CURSOR, 5, 6, LR_SHARED});
    CHECK(g_imageCalls[6] == ImageCall{L"ledger_fr-CA.dll", IMAGE_BITMAP, 5, 6, LR_SHARED});

    g_imageCalls.clear();
    ledger->loadImageIcon(kLedger, nullptr, 5, 6, LR_SHARED);
    CHECK(g_imageCalls.empty());
    g_imageCalls.shrink_to_fit();
}

// Menus

int countItemsAndDestroy(HMENU menu) {
    if (!menu) return 0;
    const int items = ::GetMenuItemCount(menu);
    ::DestroyMenu(menu);
    return items;
}

TEST_CASE("loadMenu searches the two satellites but not the module") {
    const Ledger ledger(ResourceLibrary().menu(1, 3).menu(2, 3).menu(3, 3),
                        ResourceLibrary().menu(1, 2).menu(2, 2), ResourceLibrary().menu(1, 1));

    CHECK(countItemsAndDestroy(ledger->loadMenu(kLedger, number(1))) == 1);
    CHECK(countItemsAndDestroy(ledger->loadMenu(kLedger, number(2))) == 2);
    CHECK(ledger->loadMenu(kLedger, number(3)) == nullptr);
    CHECK(ledger->loadMenu(kLedger, number(4)) == nullptr);
    CHECK(countItemsAndDestroy(i18nres::loadMenu(kLedger, number(2))) == 2);
}

TEST_CASE("loadMenu returns null for a null or missing module and a null name") {
    const Ledger ledger(ResourceLibrary(), ResourceLibrary().menu(1, 2), ResourceLibrary());

    CHECK(ledger->loadMenu(nullptr, number(1)) == nullptr);
    CHECK(ledger->loadMenu(L"missing.dll", number(1)) == nullptr);
    CHECK(ledger->loadMenu(kLedger, nullptr) == nullptr);
}

}  // namespace
