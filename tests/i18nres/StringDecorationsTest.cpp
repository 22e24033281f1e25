#include <windows.h>

#include <doctest/doctest.h>

#include <memory>
#include <string>

#include "i18nres/i18nres.h"
#include "tests/i18nres/StringForms.h"
#include "tests/support/LeakListener.h"

namespace {

using i18nres::Manager;
using testsupport::LoadedModule;
using testsupport::ManagerSession;
using testsupport::ResourceLibrary;
using testsupport::SatelliteFolder;
using testsupport::Switches;

// The origin

TEST_CASE("Every string function puts the origin before the text and counts it") {
    const LedgerWithStrings ledger(Switches::origin);
    for (const Form& form : kForms) {
        CAPTURE(form.name);
        form.load(*ledger, kLedger, kInModule);
        CHECK(form.load(*ledger, kLedger, kInDefault) == Loaded{18, L"ledger.dll(3):Open"});
        CHECK(form.load(*ledger, kLedger, kNowhere) == notFound(form));
    }
}

TEST_CASE("The origin contains the module name that the caller passed") {
    const LedgerWithStrings ledger(Switches::origin);
    std::wstring text;

    CHECK(ledger->loadStdStringW(L"LEDGER", kInDefault, text) == 14);

    CHECK(text == L"LEDGER(3):Open");
}

TEST_CASE("loadStringW copies both origin and text or neither") {
    const LedgerWithStrings ledger(Switches::origin);
    wchar_t buffer[64] = L"";

    CHECK(ledger->loadStringW(kLedger, kInDefault, buffer, 64) == 18);
    CHECK(std::wstring(buffer) == L"ledger.dll(3):Open");
    CHECK(ledger->loadStringW(kLedger, kInDefault, buffer, 19) == 18);

    for (const int size : {18, 15, 14, 5, 1}) {
        CAPTURE(size);
        CHECK(ledger->loadStringW(kLedger, kInDefault, buffer, size) == 0);
        CHECK(buffer[0] == L'\0');
    }
}

// Returns a path of `length` characters to ledger.dll. The path is padded at the beginning with
// ".\" and, if necessary, with one more backslash.
std::wstring longName(std::size_t length) {
    std::wstring name = L"ledger.dll";
    while (name.size() + 2 <= length) name = L".\\" + name;
    return name.size() < length ? L"\\" + name : name;
}

TEST_CASE("An origin can have 254 characters") {
    SatelliteFolder folder;
    folder.put(kLedger, ResourceLibrary().string(7, L"Open"));
    folder.put(L"ledger_en-US.dll", ResourceLibrary().string(7, L"Open"));
    const testsupport::CurrentFolder current(folder.path());
    const ManagerSession manager(Switches::origin);
    const std::wstring name = longName(254 - 4);  // 4: "(7):"
    std::wstring text;

    CHECK(manager->loadStdStringW(name.c_str(), 7, text) == 258);

    CHECK(text == name + L"(7):Open");
}

TEST_CASE(
    "Every string function treats a string whose origin has 255 characters or more as missing") {
    SatelliteFolder folder;
    folder.put(kLedger, ResourceLibrary());
    folder.put(L"ledger_en-US.dll", ResourceLibrary().string(7, L"Open"));
    const testsupport::CurrentFolder current(folder.path());
    for (const std::size_t length : {255u - 4, 300u, 5000u}) {
        CAPTURE(length);
        const std::wstring name = longName(length);
        for (const Form& form : kForms) {
            CAPTURE(form.name);
            {
                const ManagerSession manager;
                CHECK(form.load(*manager, name.c_str(), 7) == Loaded{4, L"Open"});
            }
            for (const Switches switches : {Switches::origin, Switches::both}) {
                const ManagerSession manager(switches);
                CHECK(form.load(*manager, name.c_str(), 7) == notFound(form));
            }
        }
    }
}

// Special characters in the origin

// Loads a module whose path contains insert sequences and printf conversions.
class ModuleWithPatternCharacters {
public:
    explicit ModuleWithPatternCharacters(Switches switches)
        : m_module(path()), m_manager(switches) {}
    const std::wstring& name() const { return m_name; }

private:
    const std::wstring& path() {
        m_name = m_folder.file(L"50%1 %s%n off%\\100%.dll");
        m_folder.put(L"50%1 %s%n off%\\100%.dll", ResourceLibrary());
        m_folder.put(L"50%1 %s%n off%\\100%_en-US.dll",
                     ResourceLibrary().string(1, L"%1 of %2!d!").string(2, L"%d%%"));
        return m_name;
    }

    SatelliteFolder m_folder;
    std::wstring m_name;
    LoadedModule m_module;
    ManagerSession m_manager;
};

TEST_CASE("The origin is literal text in a pattern with inserts") {
    using namespace i18nres::detail;
    for (const Switches switches : {Switches::origin, Switches::both}) {
        const ModuleWithPatternCharacters module(switches);
        const wchar_t* const name = module.name().c_str();
        const std::wstring origin = module.name() + L"(1):";
        std::wstring marked = origin + L"page of 12";
        if (switches == Switches::both) marked = L"\u65b9\u672c" + marked + L"\u6587\u65b9";
        wchar_t buffer[400];

        CHECK(UNSAFE_loadStdStringFormatW(name, 1, L"page", 12) == marked);
        CHECK(UNSAFE_loadDefaultStdStringFormatW(name, 1, L"page", 12) == origin + L"page of 12");
        CHECK(UNSAFE_loadStringFormatW(name, 1, buffer, 400, L"page", 12) ==
              static_cast<int>(marked.size()));
        CHECK(std::wstring(buffer) == marked);
    }
}

TEST_CASE("The origin is literal text in a printf pattern") {
    for (const Switches switches : {Switches::origin, Switches::both}) {
        const ModuleWithPatternCharacters module(switches);
        std::wstring expected = module.name() + L"(2):42%";
        if (switches == Switches::both) expected = L"\u65b9\u672c" + expected + L"\u6587\u65b9";
        wchar_t buffer[400];

        CHECK(i18nres::detail::UNSAFE_loadStringPrintfW(module.name().c_str(), 2, buffer, 400,
                                                        42) == static_cast<int>(expected.size()));

        CHECK(std::wstring(buffer) == expected);
    }
}

TEST_CASE("The percent signs of an origin are not doubled in a plain string") {
    const ModuleWithPatternCharacters module(Switches::origin);
    std::wstring text;

    CHECK(i18nres::Manager::Instance()->loadStdStringW(module.name().c_str(), 2, text) > 0);

    CHECK(text == module.name() + L"(2):%d%%");
}

// The marks

TEST_CASE("Marks enclose a string from the default culture's satellite and are not counted") {
    const LedgerWithStrings ledger(Switches::marks);
    std::wstring text;
    wchar_t buffer[16];
    BSTR bstr = nullptr;
    const std::wstring marked = L"\u65b9\u672cOpen\u6587\u65b9";

    CHECK(ledger->loadStdStringW(kLedger, kInDefault, text) == 4);
    CHECK(text == marked);
    CHECK(ledger->loadStringW(kLedger, kInDefault, buffer, 16) == 4);
    CHECK(std::wstring(buffer) == marked);
    CHECK(ledger->loadBString(kLedger, kInDefault, &bstr) == S_OK);
    CHECK(std::wstring(bstr, ::SysStringLen(bstr)) == marked);
    ::SysFreeString(bstr);
}

TEST_CASE("The narrow functions convert the marks and do not count them") {
    const LedgerWithStrings ledger(Switches::marks);
    char buffer[16];
    std::string text;

    CHECK(ledger->loadStringA(kLedger, kInDefault, buffer, 16) == 4);
    CHECK(std::string(buffer) == "??Open??");
    CHECK(ledger->loadStdStringA(kLedger, kInDefault, text) == 4);
    CHECK(text == "??Open??");
}

TEST_CASE("Strings of the culture and of the module have no marks") {
    const LedgerWithStrings ledger(Switches::marks);
    for (const Form& form : kForms) {
        CAPTURE(form.name);
        if (form.isDefault) continue;
        CHECK(form.load(*ledger, kLedger, kInCulture) == Loaded{6, L"Ouvrir"});
        CHECK(form.load(*ledger, kLedger, kInModule) == Loaded{6, L"module"});
        CHECK(form.load(*ledger, kLedger, kNowhere) == notFound(form));
    }
}

TEST_CASE("The functions for the default culture never add marks") {
    const LedgerWithStrings ledger(Switches::marks);
    for (const Form& form : kForms) {
        if (!form.isDefault) continue;
        CAPTURE(form.name);
        form.load(*ledger, kLedger, kInModule);
        CHECK(form.load(*ledger, kLedger, kInDefault) == Loaded{4, L"Open"});
    }
}

TEST_CASE("Marks enclose strings of the default culture even if it is the current culture") {
    const LedgerWithStrings ledger(Switches::marks);
    REQUIRE(ledger->setCulture(L"en-US"));
    std::wstring text;

    CHECK(ledger->loadStdStringW(kLedger, kInDefault, text) == 4);

    CHECK(text == L"\u65b9\u672cOpen\u6587\u65b9");
}

TEST_CASE("Marks enclose the origin and the text") {
    const LedgerWithStrings ledger(Switches::both);
    const std::wstring marked = L"\u65b9\u672cledger.dll(3):Open\u6587\u65b9";
    std::wstring text;
    wchar_t buffer[32];
    BSTR bstr = nullptr;

    CHECK(ledger->loadStdStringW(kLedger, kInDefault, text) == 18);
    CHECK(text == marked);
    CHECK(ledger->loadStringW(kLedger, kInDefault, buffer, 32) == 18);
    CHECK(std::wstring(buffer) == marked);
    CHECK(ledger->loadBString(kLedger, kInDefault, &bstr) == S_OK);
    CHECK(std::wstring(bstr, ::SysStringLen(bstr)) == marked);
    ::SysFreeString(bstr);
}

TEST_CASE("loadStringW clears the buffer and returns the count if the marks do not fit") {
    const LedgerWithStrings ledger(Switches::marks);
    wchar_t buffer[16] = L"";

    CHECK(ledger->loadStringW(kLedger, kInDefault, buffer, 9) == 4);
    CHECK(std::wstring(buffer) == L"\u65b9\u672cOpen\u6587\u65b9");

    for (const int size : {8, 7, 6, 5}) {
        CAPTURE(size);
        buffer[size] = L'@';
        CHECK(ledger->loadStringW(kLedger, kInDefault, buffer, size) == 4);
        CHECK(buffer[0] == L'\0');
        CHECK(buffer[size] == L'@');
    }
    CHECK(ledger->loadStringW(kLedger, kInDefault, buffer, 4) == 0);
    CHECK(buffer[0] == L'\0');
}

TEST_CASE("loadStringW adds marks to strings of up to 2043 characters") {
    SatelliteFolder folder;
    folder.put(kLedger, ResourceLibrary());
    folder.put(
        L"ledger_en-US.dll",
        ResourceLibrary().string(1, std::wstring(2043, L'x')).string(2, std::wstring(2044, L'x')));
    const LoadedModule module(folder.file(kLedger));
    const ManagerSession manager(Switches::marks);
    const auto buffer = std::make_unique<wchar_t[]>(4096);

    CHECK(manager->loadStringW(kLedger, 1, buffer.get(), 4096) == 2043);
    CHECK(std::wstring(buffer.get()) ==
          L"\u65b9\u672c" + std::wstring(2043, L'x') + L"\u6587\u65b9");

    CHECK(manager->loadStringW(kLedger, 2, buffer.get(), 4096) == 2044);
    CHECK(buffer[0] == L'\0');

    std::wstring text;
    CHECK(manager->loadStdStringW(kLedger, 2, text) == 2044);
    CHECK(text.size() == 2048);
}

}  // namespace
