#include <doctest/doctest.h>

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/support/PrintedWide.h"
#include "tools/satellites/ByteWriter.h"
#include "tools/satellites/Catalogue.h"
#include "tools/satellites/Failure.h"
#include "tools/satellites/Files.h"

namespace {

using namespace satellites;

using Texts = std::vector<std::pair<std::wstring, std::wstring>>;

template <class Template>
Texts textsIn(Template contents) {
    Texts texts;
    forEachText(contents, [&](const std::wstring& entry, std::wstring& text) {
        texts.emplace_back(entry, text);
    });
    return texts;
}

// Returns a MENU resource. The menu contains the popup menu "&File" and the item "&Help". The popup
// menu contains "&Open", a separator and "E&xit".
std::vector<std::byte> plainMenu() {
    ByteWriter writer;
    writer.write(DWORD{0});  // version and header size
    const auto entry = [&](WORD flags, WORD id, const wchar_t* text) {
        writer.write(flags);
        if (!(flags & MF_POPUP)) writer.write(id);
        writer.terminatedText(text);
    };
    entry(MF_POPUP, 0, L"&File");
    entry(0, 101, L"&Open\tCtrl+O");
    entry(0, 0, L"");
    entry(MF_END | MF_GRAYED, 102, L"E&xit");
    entry(MF_END, 103, L"&Help");
    return writer.take();
}

// Returns a MENUEX resource. The menu is similar to the menu of plainMenu(), but it has no
// separator. Some entries are preceded by padding, because entries are aligned to 4 bytes.
std::vector<std::byte> extendedMenu() {
    ByteWriter writer;
    writer.write(WORD{1});
    writer.write(WORD{4});
    writer.write(DWORD{77});  // help id
    const auto entry = [&](DWORD id, WORD flags, const wchar_t* text) {
        writer.align(4);
        writer.write(DWORD{0});  // type
        writer.write(DWORD{0});  // state
        writer.write(id);
        writer.write(flags);
        writer.terminatedText(text);
        if (flags & 1) {
            writer.align(4);
            writer.write(DWORD{78});
        }
    };
    entry(70000, 1, L"&File");
    entry(101, 0, L"&Op");
    entry(102, 0x80, L"E&xit");
    entry(103, 0x80, L"&Help");
    return writer.take();
}

void writeNumber(ByteWriter& writer, WORD number) {
    writer.write(WORD{0xFFFF});
    writer.write(number);
}

// In a DIALOG, the size of the creation data includes the size word. In a DIALOGEX, it does not.
void writeCreationData(ByteWriter& writer, std::string_view data, bool isExtended) {
    writer.write(static_cast<WORD>(data.size() + (isExtended ? 0 : sizeof(WORD))));
    writer.append(std::as_bytes(std::span(data)));
}

// Returns a DIALOG resource, or a DIALOGEX resource if `isExtended` is true. The dialog has a
// button and three static controls. The static controls have the same id, one of them is an icon,
// and one of them has creation data.
std::vector<std::byte> dialog(bool isExtended) {
    ByteWriter writer;
    if (isExtended) {
        writer.write(WORD{1});
        writer.write(WORD{0xFFFF});
        writer.write(DWORD{0});  // help id
        writer.write(DWORD{0});  // extended style
        writer.write(DWORD{DS_SETFONT | WS_POPUP});
    } else {
        writer.write(DWORD{DS_SETFONT | WS_POPUP});
        writer.write(DWORD{0});
    }
    writer.write(WORD{4});  // controls
    for (short each : {short{1}, short{2}, short{3}, short{4}}) writer.write(each);
    writer.write(WORD{0});  // no menu
    writer.terminatedText(L"Class");
    writer.terminatedText(L"Options");
    writer.write(WORD{8});
    if (isExtended) {
        writer.write(WORD{400});
        writer.write(WORD{1});
    }
    writer.terminatedText(L"Tahoma");
    const auto control = [&](DWORD id, WORD windowClass) {
        writer.align(4);
        if (isExtended) writer.write(DWORD{0});
        writer.write(DWORD{0});
        writer.write(DWORD{WS_CHILD});
        for (short each : {short{1}, short{2}, short{3}, short{4}}) writer.write(each);
        if (isExtended) {
            writer.write(id);
        } else {
            writer.write(static_cast<WORD>(id));
        }
        writeNumber(writer, windowClass);
    };
    control(0xFFFF, 0x82);
    writer.terminatedText(L"&Name:");
    writer.write(WORD{0});
    control(0xFFFF, 0x82);
    writeNumber(writer, 5);  // an icon
    writer.write(WORD{0});
    control(0xFFFF, 0x82);
    writer.terminatedText(L"Type");
    writeCreationData(writer, "abc", isExtended);
    control(1, 0x80);
    writer.terminatedText(L"OK");
    writer.write(WORD{0});
    return writer.take();
}

TEST_CASE("The strings of a menu are identified by their positions") {
    const Texts expected = {
        {L"0", L"&File"}, {L"0/0", L"&Open\tCtrl+O"}, {L"0/2", L"E&xit"}, {L"1", L"&Help"}};

    CHECK((textsIn(readMenu(plainMenu())) == expected));
}

TEST_CASE("The strings of a MENUEX are identified by their positions") {
    const Texts expected = {
        {L"0", L"&File"}, {L"0/0", L"&Op"}, {L"0/1", L"E&xit"}, {L"1", L"&Help"}};

    const MenuTemplate menu = readMenu(extendedMenu());

    CHECK((textsIn(menu) == expected));
    CHECK(menu.helpId == 77);
    CHECK(menu.entries[0].id == 70000);
    CHECK(menu.entries[0].helpId == 78);
}

TEST_CASE("The strings of a dialog are identified by the identifiers of its controls") {
    for (const bool isExtended : {false, true}) {
        const Texts expected = {
            {L"", L"Options"}, {L"65535", L"&Name:"}, {L"65535#3", L"Type"}, {L"1", L"OK"}};

        CHECK((textsIn(readDialog(dialog(isExtended))) == expected));
    }
}

// Returns a DIALOG resource with two static controls. The creation data of each control consists of
// a size word from `sizeWords`, followed by `data`.
std::vector<std::byte> dialogWithCreationData(std::pair<WORD, WORD> sizeWords,
                                              std::string_view data) {
    ByteWriter writer;
    writer.write(DLGTEMPLATE{WS_POPUP, 0, 2, 1, 2, 3, 4});
    writer.write(WORD{0});  // no menu
    writer.write(WORD{0});  // the default window class
    writer.terminatedText(L"Title");
    for (const WORD sizeWord : {sizeWords.first, sizeWords.second}) {
        writer.align(4);
        writer.write(DLGITEMTEMPLATE{WS_CHILD, 0, 1, 2, 3, 4, 7});
        writeNumber(writer, 0x82);
        writer.terminatedText(L"Name");
        writer.write(sizeWord);
        writer.append(std::as_bytes(std::span(data)));
    }
    return writer.take();
}

TEST_CASE("The size of creation data in a DIALOG includes the size word") {
    for (const std::string_view data : {"", "ab", "abc", "abcdef"}) {
        CAPTURE(data);
        const WORD size = static_cast<WORD>(data.size() + sizeof(WORD));
        const std::vector<std::byte> bytes = dialogWithCreationData({size, size}, data);
        const Texts expected = {{L"", L"Title"}, {L"7", L"Name"}, {L"7#2", L"Name"}};

        CHECK((textsIn(readDialog(bytes)) == expected));
        CHECK(writeDialog(readDialog(bytes)) == bytes);
    }
}

TEST_CASE("A DIALOG without creation data is written exactly as it was read") {
    const std::vector<std::byte> bytes = dialogWithCreationData({WORD{0}, WORD{0}}, "");

    CHECK(writeDialog(readDialog(bytes)) == bytes);
}

TEST_CASE("Creation data in a DIALOG with a size of 1 is rejected") {
    const WORD none = 0, tooSmall = 1;
    CHECK_THROWS_AS(readDialog(dialogWithCreationData({tooSmall, none}, "")), Unreadable);
    CHECK_THROWS_AS(readDialog(dialogWithCreationData({none, tooSmall}, "")), Unreadable);
}

TEST_CASE("A menu is written exactly as it was read") {
    CHECK(writeMenu(readMenu(plainMenu())) == plainMenu());
    CHECK(writeMenu(readMenu(extendedMenu())) == extendedMenu());
}

TEST_CASE("A dialog is written exactly as it was read") {
    CHECK(writeDialog(readDialog(dialog(false))) == dialog(false));
    CHECK(writeDialog(readDialog(dialog(true))) == dialog(true));
}

// Checks that `read` throws Unreadable if `whole` is truncated to any length of more than
// `shortest` bytes.
template <class Read>
void checkRefusesBeginnings(Read read, const std::vector<std::byte>& whole, std::size_t shortest) {
    for (std::size_t length = shortest + 1; length < whole.size(); ++length) {
        CAPTURE(length);
        CHECK_THROWS_AS(read(std::span(whole).first(length)), Unreadable);
    }
}

TEST_CASE("A menu that is truncated after its header is rejected") {
    checkRefusesBeginnings(&readMenu, plainMenu(), 4);
    checkRefusesBeginnings(&readMenu, extendedMenu(), 8);
}

TEST_CASE("A menu that consists of its header is empty") {
    const std::vector<std::byte> menu = plainMenu();
    CHECK(readMenu(std::span(menu).first(4)).entries.empty());
}

TEST_CASE("A truncated dialog is rejected") {
    checkRefusesBeginnings(&readDialog, dialog(false), 0);
    checkRefusesBeginnings(&readDialog, dialog(true), 0);
}

TEST_CASE("Popups that are nested without limit are rejected") {
    ByteWriter writer;
    writer.write(DWORD{0});
    for (int i = 0; i < 100'000; ++i) {
        writer.write(WORD{MF_POPUP | MF_END});
        writer.terminatedText(L"x");
    }
    CHECK_THROWS_AS(readMenu(writer.take()), Unreadable);
}

TEST_CASE("Menus and dialogs of system libraries keep their strings when they are written") {
    wchar_t system[MAX_PATH];
    ::GetSystemDirectoryW(system, MAX_PATH);
    int menus = 0, dialogs = 0;
    for (const wchar_t* name : {L"shell32.dll", L"comdlg32.dll", L"comctl32.dll", L"mshtml.dll"}) {
        const std::wstring path = std::wstring(system) + L"\\" + name;
        if (!exists(path)) continue;
        const ResourceFile file(readFile(path));
        for (const Resource& resource : file.ofType(RT_MENU)) {
            const auto written = writeMenu(readMenu(resource.data));
            CHECK(writeMenu(readMenu(written)) == written);
            CHECK((textsIn(readMenu(written)) == textsIn(readMenu(resource.data))));
            ++menus;
        }
        for (const Resource& resource : file.ofType(RT_DIALOG)) {
            const auto written = writeDialog(readDialog(resource.data));
            CHECK(writeDialog(readDialog(written)) == written);
            CHECK((textsIn(readDialog(written)) == textsIn(readDialog(resource.data))));
            ++dialogs;
        }
    }
    CHECK(menus > 0);
    CHECK(dialogs > 5);
}

}  // namespace
