#include <windows.h>

#include <doctest/doctest.h>

#include <string>
#include <utility>

#include "i18nres/Manager.h"
#include "tests/i18nres/StringForms.h"
#include "tests/support/LeakListener.h"

namespace {

using i18nres::Manager;
using testsupport::LoadedModule;
using testsupport::ManagerSession;
using testsupport::ResourceLibrary;
using testsupport::SatelliteFolder;

TEST_CASE("Every string function searches its libraries in the documented order") {
    const LedgerWithStrings ledger;
    for (const Form& form : kForms) {
        CAPTURE(form.name);
        const auto load = [&](unsigned id) { return form.load(*ledger, kLedger, id); };
        if (form.isDefault) load(kInModule);  // loads the satellites

        CHECK(load(kEverywhere) == (form.isDefault ? Loaded{6, L"module"} : Loaded{7, L"culture"}));
        CHECK(load(kInModule) == Loaded{6, L"module"});
        CHECK(load(kInDefault) == Loaded{4, L"Open"});
        CHECK(load(kInCulture) == (form.isDefault ? notFound(form) : Loaded{6, L"Ouvrir"}));
        CHECK(load(kInModuleAndDefault) ==
              (form.isDefault ? Loaded{6, L"module"} : Loaded{7, L"default"}));
    }
}

TEST_CASE("Every string function reports a missing string") {
    const LedgerWithStrings ledger;
    for (const Form& form : kForms) {
        CAPTURE(form.name);
        for (const unsigned id : {unsigned(kNowhere), 0u, 16u, 0xFFFFu, 0x10001u, 0xFFFFFFFFu}) {
            CAPTURE(id);
            CHECK(form.load(*ledger, kLedger, id) == notFound(form));
        }
    }
}

TEST_CASE("Every string function reports a missing module") {
    const LedgerWithStrings ledger;
    for (const Form& form : kForms) {
        CAPTURE(form.name);
        CHECK(form.load(*ledger, nullptr, kEverywhere) == notFound(form));
        CHECK(form.load(*ledger, L"missing.dll", kEverywhere) == notFound(form));
        CHECK(form.load(*ledger, L"", kEverywhere) == notFound(form));
    }
}

TEST_CASE("An identifier beyond the last block does not refer to another block") {
    // Resource numbers have 16 bits, so the system would read block 1 instead of block 0x10001.
    const LedgerWithStrings ledger;
    for (const Form& form : kForms) {
        CAPTURE(form.name);
        CHECK(form.load(*ledger, kLedger, 0x100000 + kInModule) == notFound(form));
    }
}

TEST_CASE("Strings are found at the boundaries of their blocks") {
    SatelliteFolder folder;
    ResourceLibrary library;
    for (const unsigned id : {0u, 15u, 16u, 31u, 32u, 0xFFFFu, 0xFFFEFu}) {
        library.string(id, L"id " + std::to_wstring(id));
    }
    folder.put(kLedger, library);
    const LoadedModule module(folder.file(kLedger));
    const ManagerSession manager;
    for (const unsigned id : {0u, 15u, 16u, 31u, 32u, 0xFFFFu, 0xFFFEFu}) {
        CAPTURE(id);
        std::wstring text;
        const int count = manager->loadStdStringW(kLedger, id, text);
        CHECK(text == L"id " + std::to_wstring(id));
        CHECK(count == static_cast<int>(text.size()));
    }
}

TEST_CASE("The default culture's satellite is searched before the module if there is no culture") {
    const LedgerWithStrings ledger;
    ledger->setCulture(nullptr);
    std::wstring text;

    CHECK(ledger->loadStdStringW(kLedger, kEverywhere, text) == 7);

    CHECK(text == L"default");
}

TEST_CASE("A culture change has an effect on the next lookup") {
    const LedgerWithStrings ledger;
    std::wstring text;
    REQUIRE(ledger->loadStdStringW(kLedger, kEverywhere, text) == 7);
    REQUIRE(text == L"culture");

    REQUIRE(ledger->setCulture(L"en-GB"));
    CHECK(ledger->loadStdStringW(kLedger, kEverywhere, text) == 7);
    CHECK(text == L"default");

    REQUIRE(ledger->setCulture(L"fr-CA"));
    CHECK(ledger->loadStdStringW(kLedger, kEverywhere, text) == 7);
    CHECK(text == L"culture");
}

TEST_CASE("The module is searched only while it is loaded") {
    SatelliteFolder folder;
    folder.put(kLedger, ResourceLibrary().string(kInModule, L"module"));
    folder.put(L"ledger_en-US.dll", ResourceLibrary().string(kInDefault, L"Open"));
    const ManagerSession manager;
    std::wstring text;
    {
        const LoadedModule module(folder.file(kLedger));
        REQUIRE(manager->loadStdStringW(kLedger, kInModule, text) == 6);
    }

    CHECK(manager->loadStdStringW(kLedger, kInModule, text) == 0);
    CHECK(manager->loadStdStringW(kLedger, kInDefault, text) == 4);
}

TEST_CASE("A path can specify the module") {
    SatelliteFolder folder;
    folder.put(kLedger, ResourceLibrary().string(kInModule, L"module"));
    folder.put(L"ledger_fr.dll", ResourceLibrary().string(kInCulture, L"Ouvrir"));
    const LoadedModule module(folder.file(kLedger));
    const ManagerSession manager;
    REQUIRE(manager->setCulture(L"fr-CA"));
    std::wstring text;

    CHECK(manager->loadStdStringW(folder.file(kLedger).c_str(), kInModule, text) == 6);
    CHECK(manager->loadStdStringW(folder.file(kLedger).c_str(), kInCulture, text) == 6);

    CHECK(text == L"Ouvrir");
}

TEST_CASE("Modules with the same file name are distinguished by their paths") {
    SatelliteFolder folder;
    folder.put(L"first\\ledger.dll", ResourceLibrary().string(kInModule, L"first"));
    folder.put(L"second\\ledger.dll", ResourceLibrary().string(kInModule, L"second"));
    const std::wstring firstPath = folder.file(L"first\\ledger.dll");
    const std::wstring secondPath = folder.file(L"second\\ledger.dll");
    const LoadedModule first(firstPath), second(secondPath);
    const ManagerSession manager;
    for (int round = 0; round < 2; ++round) {
        std::wstring text;
        manager->loadStdStringW(firstPath.c_str(), kInModule, text);
        CHECK(text == L"first");
        manager->loadStdStringW(secondPath.c_str(), kInModule, text);
        CHECK(text == L"second");
    }
}

TEST_CASE("A module that was freed is not replaced by another one with the same file name") {
    SatelliteFolder folder;
    folder.put(L"first\\ledger.dll", ResourceLibrary().string(kInModule, L"first"));
    folder.put(L"other\\ledger.dll", ResourceLibrary().string(kInModule, L"other"));
    folder.put(L"else.dll", ResourceLibrary());
    const std::wstring path = folder.file(L"first\\ledger.dll");
    const ManagerSession manager;
    std::wstring text;
    for (const bool isReplaced : {false, true}) {
        {
            const LoadedModule module(path);
            REQUIRE(manager->loadStdStringW(path.c_str(), kInModule, text) == 5);
        }
        const LoadedModule other(folder.file(isReplaced ? L"other\\ledger.dll" : L"else.dll"));

        CHECK(manager->loadStdStringW(path.c_str(), kInModule, text) == 0);
    }
}

TEST_CASE("A module is searched again after it was loaded again") {
    SatelliteFolder folder;
    const std::wstring path = folder.file(kLedger);
    folder.put(L"ledger_en-US.dll", ResourceLibrary().string(kInDefault, L"Open"));
    const ManagerSession manager;
    for (const wchar_t* expected : {L"first", L"second"}) {
        folder.put(kLedger, ResourceLibrary().string(kInModule, expected));
        const LoadedModule module(path);
        for (const std::wstring& name : {std::wstring(kLedger), path}) {
            std::wstring text;
            manager->loadStdStringW(name.c_str(), kInModule, text);
            CHECK(text == expected);
        }
    }
}

TEST_CASE("A satellite that was replaced on disk is read again after a culture change") {
    SatelliteFolder folder;
    folder.put(kLedger, ResourceLibrary());
    const LoadedModule module(folder.file(kLedger));
    const ManagerSession manager;
    for (const wchar_t* expected : {L"Ouvrir", L"Fermer", L"Imprimer"}) {
        manager->setCulture(L"en-GB");
        folder.put(L"ledger_fr.dll", ResourceLibrary().string(kInCulture, expected));
        REQUIRE(manager->setCulture(L"fr-CA"));
        for (int lookup = 0; lookup < 2; ++lookup) {
            std::wstring text;
            manager->loadStdStringW(kLedger, kInCulture, text);
            CHECK(text == expected);
        }
    }
}

constexpr LANGID kFrench = MAKELANGID(LANG_FRENCH, SUBLANG_FRENCH);
constexpr LANGID kGerman = MAKELANGID(LANG_GERMAN, SUBLANG_GERMAN);

// Replaces all resources of a library with one string table block in two languages. String 0
// differs between the languages.
void putBothLanguages(const std::wstring& file) {
    const HANDLE update = ::BeginUpdateResourceW(file.c_str(), TRUE);
    REQUIRE(update);
    for (const auto& [language, text] : {std::pair(kFrench, L"oui"), std::pair(kGerman, L"ja")}) {
        std::wstring block = text;
        block.insert(block.begin(), static_cast<wchar_t>(block.size()));
        block.append(15, L'\0');
        REQUIRE(::UpdateResourceW(update, RT_STRING, MAKEINTRESOURCEW(1), language, block.data(),
                                  static_cast<DWORD>(block.size() * sizeof(wchar_t))));
    }
    REQUIRE(::EndUpdateResourceW(update, FALSE));
}

// Adds a string table block whose first string is `text`.
void addBlock(const std::wstring& file, WORD number, const wchar_t* text) {
    const HANDLE update = ::BeginUpdateResourceW(file.c_str(), FALSE);
    REQUIRE(update);
    std::wstring block = text;
    block.insert(block.begin(), static_cast<wchar_t>(block.size()));
    block.append(15, L'\0');
    REQUIRE(::UpdateResourceW(update, RT_STRING, MAKEINTRESOURCEW(number), kFrench, block.data(),
                              static_cast<DWORD>(block.size() * sizeof(wchar_t))));
    REQUIRE(::EndUpdateResourceW(update, FALSE));
}

// Checks that loadStringW and LoadStringW return the same string 0 for a French and for a German
// thread locale.
void checkLanguages(const Manager& manager, HINSTANCE holder) {
    const LCID before = ::GetThreadLocale();
    for (const LANGID language : {kFrench, kGerman, kFrench}) {
        REQUIRE(::SetThreadLocale(MAKELCID(language, SORT_DEFAULT)));
        wchar_t expected[8] = L"";
        ::LoadStringW(holder, 0, expected, 8);
        wchar_t text[8] = L"";
        manager.loadStringW(kLedger, 0, text, 8);
        CHECK(std::wstring(text) == expected);
    }
    ::SetThreadLocale(before);
}

TEST_CASE("A satellite can contain blocks in one language and blocks in several languages") {
    SatelliteFolder folder;
    folder.put(kLedger, ResourceLibrary());
    folder.put(L"ledger_fr.dll", ResourceLibrary());
    putBothLanguages(folder.file(L"ledger_fr.dll"));
    addBlock(folder.file(L"ledger_fr.dll"), 3, L"Ouvrir");
    const LoadedModule module(folder.file(kLedger)), satellite(folder.file(L"ledger_fr.dll"));
    const ManagerSession manager;
    REQUIRE(manager->setCulture(L"fr-CA"));
    std::wstring text;

    checkLanguages(*manager, satellite.get());
    CHECK(manager->loadStdStringW(kLedger, 32, text) == 6);
    CHECK(manager->loadStdStringW(kLedger, 16, text) == 0);
}

TEST_CASE("A satellite with several languages returns the string in the thread's language") {
    SatelliteFolder folder;
    folder.put(kLedger, ResourceLibrary());
    folder.put(L"ledger_fr.dll", ResourceLibrary());
    putBothLanguages(folder.file(L"ledger_fr.dll"));
    const LoadedModule module(folder.file(kLedger)), satellite(folder.file(L"ledger_fr.dll"));
    const ManagerSession manager;
    REQUIRE(manager->setCulture(L"fr-CA"));

    checkLanguages(*manager, satellite.get());
}

TEST_CASE("A satellite has no strings with identifiers between its blocks") {
    SatelliteFolder folder;
    folder.put(kLedger, ResourceLibrary());
    folder.put(L"ledger_fr.dll",
               ResourceLibrary().string(1, L"first block").string(100, L"seventh block"));
    const LoadedModule module(folder.file(kLedger));
    const ManagerSession manager;
    REQUIRE(manager->setCulture(L"fr-CA"));
    std::wstring text;

    CHECK(manager->loadStdStringW(kLedger, 50, text) == 0);
    CHECK(manager->loadStdStringW(kLedger, 100, text) == 13);
}

TEST_CASE("A string table with a name or the identifier 0 does not hide other string tables") {
    SatelliteFolder folder;
    folder.put(kLedger, ResourceLibrary());
    folder.put(L"ledger_fr.dll", ResourceLibrary()
                                     .string(kInCulture, L"culture")
                                     .resource(RT_STRING, L"NAMED", "no strings")
                                     .resource(RT_STRING, MAKEINTRESOURCEW(0), "no strings"));
    folder.put(L"ledger_en-US.dll", ResourceLibrary().resource(RT_STRING, L"NAMED", "no strings"));
    const LoadedModule module(folder.file(kLedger));
    const ManagerSession manager;
    REQUIRE(manager->setCulture(L"fr-CA"));
    std::wstring text;

    CHECK(manager->loadStdStringW(kLedger, kInCulture, text) == 7);
    CHECK(manager->loadStdStringW(kLedger, kInDefault, text) == 0);
}

TEST_CASE("A module with several languages returns the string in the thread's language") {
    SatelliteFolder folder;
    folder.put(kLedger, ResourceLibrary());
    putBothLanguages(folder.file(kLedger));
    const LoadedModule module(folder.file(kLedger));
    const ManagerSession manager;

    checkLanguages(*manager, module.get());
}

TEST_CASE("A module with a MUI resource and without a .mui file returns its own strings") {
    SatelliteFolder folder;
    folder.put(kLedger, ResourceLibrary()
                            .string(kInModule, L"module")
                            .resource(L"MUI", MAKEINTRESOURCEW(1), "which files"));
    const LoadedModule module(folder.file(kLedger));
    const ManagerSession manager;

    std::wstring text;
    manager->loadStdStringW(kLedger, kInModule, text);
    CHECK(text == L"module");
}

TEST_CASE(
    "Text after an embedded NUL is truncated to the buffer, and the count includes the copied "
    "part") {
    SatelliteFolder folder;
    folder.put(kLedger, ResourceLibrary().string(kInModule, std::wstring_view(L"ab\0cd", 5)));
    const LoadedModule module(folder.file(kLedger));
    const ManagerSession manager;
    for (const auto load : {&Manager::loadStringW, &Manager::loadDefaultStringW}) {
        for (const int size : {3, 4, 5}) {
            wchar_t text[] = L"xxxxxxx";
            CHECK(((*manager).*load)(kLedger, kInModule, text, size) == size - 1);
            CHECK(std::wstring(text) == L"ab");
            CHECK(text[size - 1] == L'\0');
            CHECK(text[size] == L'x');
        }
        wchar_t text[] = L"xxxxxxx";
        CHECK(((*manager).*load)(kLedger, kInModule, text, 2) == 0);
        CHECK(std::wstring(text) == L"");
    }
}

TEST_CASE("A string can contain embedded NULs") {
    SatelliteFolder folder;
    const std::wstring filter(L"Ledger\0*.crt\0", 13);
    folder.put(kLedger, ResourceLibrary().string(1, filter));
    const LoadedModule module(folder.file(kLedger));
    const ManagerSession manager;

    wchar_t buffer[14];
    CHECK(manager->loadStringW(kLedger, 1, buffer, 14) == 13);
    CHECK(std::wstring(buffer, 13) == filter);

    std::wstring text;
    CHECK(manager->loadStdStringW(kLedger, 1, text) == 13);
    CHECK(text == filter);

    BSTR bstr = nullptr;
    CHECK(manager->loadBString(kLedger, 1, &bstr) == S_OK);
    CHECK(std::wstring(bstr, ::SysStringLen(bstr)) == filter);
    ::SysFreeString(bstr);
}

// Damaged libraries

TEST_CASE(
    "A string in a damaged string table is treated as missing, and the next library is searched") {
    struct Row {
        const char* name;
        std::wstring units;
        testsupport::WrongDataEntry wrong;
    };
    const Row rows[] = {
        {"a length that runs past the block", L"\5Open", {}},
        {"a length of 65535", L"\xFFFFOpen", {}},
        {"a block without entries", L"", {}},
        {"a block that ends before the entry", L"\0", {}},
        {"a size beyond the library", L"\4Open", {0x10000000, 0}},
        {"a size just beyond the library", L"\4Open", {0x2000, 0}},
        {"the greatest size", L"\4Open", {0xFFFFFFFF, 0}},
        {"a position beyond the library", L"\4Open", {0, 0x10000000}},
        {"a position before the library", L"\4Open", {0, 0x80000000}},
        {"an odd position", L"\4Open\4Open", {0, 1}},
    };
    for (const Row& row : rows) {
        CAPTURE(row.name);
        SatelliteFolder folder;
        folder.put(kLedger, ResourceLibrary().string(0, L"module"));
        folder.put(L"ledger_en-US.dll", ResourceLibrary().stringBlock(1, row.units, row.wrong));
        folder.put(L"ledger_fr-CA.dll", ResourceLibrary().stringBlock(1, row.units, row.wrong));
        const LoadedModule module(folder.file(kLedger));
        const ManagerSession manager;
        REQUIRE(manager->setCulture(L"fr-CA"));
        std::wstring text;
        CHECK(manager->loadStdStringW(kLedger, 0, text) == 6);
        CHECK(text == L"module");
        CHECK(manager->loadStdStringW(kLedger, 15, text) == 0);
    }
}

}  // namespace
