#include <windows.h>

#include <comdef.h>
#include <doctest/doctest.h>

#include <algorithm>
#include <atomic>
#include <climits>
#include <functional>
#include <memory>
#include <new>
#include <string>
#include <thread>
#include <utility>

#include "i18nres/Manager.h"
#include "tests/support/AllocationSpy.h"
#include "tests/support/LeakListener.h"
#include "tests/support/OtherThread.h"
#include "tests/support/ReplacedImport.h"
#include "tests/support/SatelliteFolder.h"

namespace {

using i18nres::Manager;
using testsupport::LoadedModule;
using testsupport::ManagerSession;
using testsupport::otherThreadFinishes;
using testsupport::ResourceLibrary;
using testsupport::SatelliteFolder;
using testsupport::Switches;

constexpr wchar_t kLedger[] = L"ledger.dll";

// Ids by where their strings stand.
enum : unsigned {
    kEverywhere = 1,
    kInModule = 2,
    kInDefault = 3,
    kInCulture = 4,
    kInModuleAndDefault = 5,
    kLong = 6,
    kAccented = 7,
    kNowhere = 9,
};

// ledger.dll, loaded, with satellites for fr-CA and en-US, and a manager whose culture is fr-CA.
class Ledger {
public:
    explicit Ledger(Switches switches = Switches::none) : m_module(path()), m_manager(switches) {
        REQUIRE(m_manager->setCulture(L"fr-CA"));
    }
    Manager* operator->() const { return m_manager.operator->(); }
    Manager& operator*() const { return *m_manager; }

private:
    std::wstring path() {
        m_folder.put(L"ledger.dll", ResourceLibrary()
                                        .string(kEverywhere, L"module")
                                        .string(kInModule, L"module")
                                        .string(kInModuleAndDefault, L"module")
                                        .string(kInCulture, L"")
                                        .string(kLong, std::wstring(3000, L'x')));
        m_folder.put(L"ledger_en-US.dll", ResourceLibrary()
                                              .string(kEverywhere, L"default")
                                              .string(kInDefault, L"Open")
                                              .string(kInModuleAndDefault, L"default")
                                              .string(kLong, std::wstring(3000, L'y'))
                                              .string(kAccented, L"\u00e9t\u00e9 \u65b9 \u20ac"));
        m_folder.put(L"ledger_fr-CA.dll", ResourceLibrary()
                                              .string(kEverywhere, L"culture")
                                              .string(kInCulture, L"Ouvrir")
                                              .string(kInModule, L""));
        return m_folder.file(L"ledger.dll");
    }

    SatelliteFolder m_folder;
    LoadedModule m_module;
    ManagerSession m_manager;
};

// Every form of loading, under one signature: the count, and the text where it came out. What the
// form leaves alone reads "before". Narrow texts are widened, BSTRs count by their length.
struct Loaded {
    int count;
    std::wstring text;
    bool operator==(const Loaded&) const = default;
};

std::wstring widened(const std::string& narrow) {
    wchar_t wide[4096];
    const int length = ::MultiByteToWideChar(CP_ACP, 0, narrow.data(),
                                             static_cast<int>(narrow.size()), wide, 4096);
    return {wide, static_cast<std::size_t>(length)};
}

struct Form {
    const char* name;
    bool isDefault;
    bool emptiesItsOutput;  // where nothing is found
    std::function<Loaded(Manager&, const wchar_t*, unsigned)> load;
};

template <class Character, class Method>
Loaded intoBuffer(Manager& manager, Method method, const wchar_t* module, unsigned id) {
    Character buffer[4096] = {'b', 'e', 'f', 'o', 'r', 'e'};
    const int count = (manager.*method)(module, id, buffer, 4096);
    if constexpr (sizeof(Character) == 1)
        return {count, widened(buffer)};
    else
        return {count, buffer};
}

template <class String, class Method>
Loaded intoString(Manager& manager, Method method, const wchar_t* module, unsigned id) {
    String text(6, 'x');
    std::copy_n("before", 6, text.begin());
    const int count = (manager.*method)(module, id, text);
    if constexpr (sizeof(text[0]) == 1)
        return {count, widened(text)};
    else
        return {count, text};
}

template <class Method>
Loaded intoBstr(Manager& manager, Method method, const wchar_t* module, unsigned id) {
    BSTR text = reinterpret_cast<BSTR>(1);  // overwritten, never freed
    const HRESULT hr = (manager.*method)(module, id, &text);
    const Loaded loaded = {static_cast<int>(::SysStringLen(text)),
                           std::wstring(text ? text : L"", ::SysStringLen(text))};
    CHECK(hr == (text ? S_OK : E_FAIL));
    ::SysFreeString(text);
    return loaded;
}

const Form kForms[] = {
    {"loadStringW", false, true,
     [](auto& c, auto m, auto id) { return intoBuffer<wchar_t>(c, &Manager::loadStringW, m, id); }},
    {"loadStringA", false, true,
     [](auto& c, auto m, auto id) { return intoBuffer<char>(c, &Manager::loadStringA, m, id); }},
    {"loadStdStringW", false, false,
     [](auto& c, auto m, auto id) {
         return intoString<std::wstring>(c, &Manager::loadStdStringW, m, id);
     }},
    {"loadStdStringA", false, false,
     [](auto& c, auto m, auto id) {
         return intoString<std::string>(c, &Manager::loadStdStringA, m, id);
     }},
    {"loadBString", false, true,
     [](auto& c, auto m, auto id) { return intoBstr(c, &Manager::loadBString, m, id); }},
    {"loadDefaultStringW", true, true,
     [](auto& c, auto m, auto id) {
         return intoBuffer<wchar_t>(c, &Manager::loadDefaultStringW, m, id);
     }},
    {"loadDefaultStringA", true, true,
     [](auto& c, auto m, auto id) {
         return intoBuffer<char>(c, &Manager::loadDefaultStringA, m, id);
     }},
    {"loadDefaultStdStringW", true, false,
     [](auto& c, auto m, auto id) {
         return intoString<std::wstring>(c, &Manager::loadDefaultStdStringW, m, id);
     }},
    {"loadDefaultStdStringA", true, false,
     [](auto& c, auto m, auto id) {
         return intoString<std::string>(c, &Manager::loadDefaultStdStringA, m, id);
     }},
    {"loadDefaultBString", true, true,
     [](auto& c, auto m, auto id) { return intoBstr(c, &Manager::loadDefaultBString, m, id); }},
};

Loaded nothing(const Form& form) { return {0, form.emptiesItsOutput ? L"" : L"before"}; }

// Where strings are found

TEST_CASE("every form searches the libraries of its family in their order") {
    const Ledger ledger;
    for (const Form& form : kForms) {
        CAPTURE(form.name);
        const auto load = [&](unsigned id) { return form.load(*ledger, kLedger, id); };
        if (form.isDefault) load(kInModule);  // resolves the record

        CHECK(load(kEverywhere) == (form.isDefault ? Loaded{6, L"module"} : Loaded{7, L"culture"}));
        CHECK(load(kInModule) == Loaded{6, L"module"});
        CHECK(load(kInDefault) == Loaded{4, L"Open"});
        CHECK(load(kInCulture) == (form.isDefault ? nothing(form) : Loaded{6, L"Ouvrir"}));
        CHECK(load(kInModuleAndDefault) ==
              (form.isDefault ? Loaded{6, L"module"} : Loaded{7, L"default"}));
    }
}

TEST_CASE("every form says when a string is missing") {
    const Ledger ledger;
    for (const Form& form : kForms) {
        CAPTURE(form.name);
        for (const unsigned id : {unsigned(kNowhere), 0u, 16u, 0xFFFFu, 0x10001u, 0xFFFFFFFFu}) {
            CAPTURE(id);
            CHECK(form.load(*ledger, kLedger, id) == nothing(form));
        }
    }
}

TEST_CASE("every form says when there is no module") {
    const Ledger ledger;
    for (const Form& form : kForms) {
        CAPTURE(form.name);
        CHECK(form.load(*ledger, nullptr, kEverywhere) == nothing(form));
        CHECK(form.load(*ledger, L"missing.dll", kEverywhere) == nothing(form));
        CHECK(form.load(*ledger, L"", kEverywhere) == nothing(form));
    }
}

TEST_CASE("an id beyond the greatest number of a block does not lead to another block") {
    // The number of a resource has 16 bits: block 0x10001 would be taken for block 1.
    const Ledger ledger;
    for (const Form& form : kForms) {
        CAPTURE(form.name);
        CHECK(form.load(*ledger, kLedger, 0x100000 + kInModule) == nothing(form));
    }
}

TEST_CASE("ids are found at the edges of their blocks") {
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

TEST_CASE("without a culture the satellite of the default culture comes before the module") {
    const Ledger ledger;
    ledger->setCulture(nullptr);
    std::wstring text;

    CHECK(ledger->loadStdStringW(kLedger, kEverywhere, text) == 7);

    CHECK(text == L"default");
}

TEST_CASE("a culture change shows in the next lookup") {
    const Ledger ledger;
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

TEST_CASE("the module is searched only while it is loaded") {
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

TEST_CASE("a module may be named by its path") {
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

TEST_CASE("modules of one file name are told apart by their paths") {
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

TEST_CASE("a module that stands in for another one of its file name is not taken for it") {
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

TEST_CASE("a module that is loaded anew is searched anew") {
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

TEST_CASE("a satellite that comes back another one is read anew") {
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

// Replaces what a library holds by one block of strings, in two languages. String 0 tells which.
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

// Adds a block whose first string is `text`.
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

// String 0 comes as the system says that the thread has it, time after time.
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

TEST_CASE("a satellite finds a block of one language beside a block of several") {
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

TEST_CASE("a satellite of several languages answers in the language of the thread each time") {
    SatelliteFolder folder;
    folder.put(kLedger, ResourceLibrary());
    folder.put(L"ledger_fr.dll", ResourceLibrary());
    putBothLanguages(folder.file(L"ledger_fr.dll"));
    const LoadedModule module(folder.file(kLedger)), satellite(folder.file(L"ledger_fr.dll"));
    const ManagerSession manager;
    REQUIRE(manager->setCulture(L"fr-CA"));

    checkLanguages(*manager, satellite.get());
}

TEST_CASE("ids between the blocks of a satellite are missing in it") {
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

TEST_CASE("a string table with a name or the number 0 hides no other") {
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

TEST_CASE("a module of several languages answers in the language of the thread each time") {
    SatelliteFolder folder;
    folder.put(kLedger, ResourceLibrary());
    putBothLanguages(folder.file(kLedger));
    const LoadedModule module(folder.file(kLedger));
    const ManagerSession manager;

    checkLanguages(*manager, module.get());
}

TEST_CASE("a module whose texts may stand in other files still answers with its own") {
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

TEST_CASE("what stands behind a terminator need not fit but counts as far as the buffer goes") {
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

TEST_CASE("a string may hold terminators") {
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

// Buffers

TEST_CASE("loadStringW fits a text whole or not at all") {
    const Ledger ledger;
    wchar_t buffer[8] = L"@@@@@@@";

    CHECK(ledger->loadStringW(kLedger, kInDefault, buffer, 5) == 4);
    CHECK(std::wstring(buffer, 8) == std::wstring(L"Open\0@@", 7) + L'\0');

    CHECK(ledger->loadStringW(kLedger, kInDefault, buffer, 4) == 0);
    CHECK(buffer[0] == L'\0');
}

TEST_CASE("loadDefaultStringW fits a text whole or not at all") {
    const Ledger ledger;
    wchar_t buffer[8] = L"@@@@@@@";

    CHECK(ledger->loadDefaultStringW(kLedger, kInModule, buffer, 7) == 6);
    CHECK(std::wstring(buffer) == L"module");

    CHECK(ledger->loadDefaultStringW(kLedger, kInModule, buffer, 6) == 0);
    CHECK(buffer[0] == L'\0');
}

TEST_CASE("the wide buffer forms write nothing behind a buffer that is too small") {
    const Ledger ledger;
    for (const int size : {1, 2, 3}) {
        wchar_t buffer[8] = L"@@@@@@@";
        CHECK(ledger->loadStringW(kLedger, kInDefault, buffer, size) == 0);
        CHECK(ledger->loadDefaultStringW(kLedger, kInModule, buffer, size) == 0);
        CHECK(buffer[0] == L'\0');
        CHECK(std::wstring(buffer + size, 7 - static_cast<std::size_t>(size)) ==
              std::wstring(7 - static_cast<std::size_t>(size), L'@'));
    }
}

TEST_CASE("the buffer forms refuse a null buffer and a size below 1") {
    const Ledger ledger;
    wchar_t wide = L'@';
    char narrow = '@';
    for (const int size : {0, -1, INT_MIN}) {
        CHECK(ledger->loadStringW(kLedger, kInDefault, &wide, size) == 0);
        CHECK(ledger->loadDefaultStringW(kLedger, kInModule, &wide, size) == 0);
        CHECK(ledger->loadStringA(kLedger, kInDefault, &narrow, size) == 0);
        CHECK(ledger->loadDefaultStringA(kLedger, kInModule, &narrow, size) == 0);
    }
    CHECK(wide == L'@');
    CHECK(narrow == '@');

    CHECK(ledger->loadStringW(kLedger, kInDefault, nullptr, 8) == 0);
    CHECK(ledger->loadDefaultStringW(kLedger, kInModule, nullptr, 8) == 0);
    CHECK(ledger->loadStringA(kLedger, kInDefault, nullptr, 8) == 0);
    CHECK(ledger->loadDefaultStringA(kLedger, kInModule, nullptr, 8) == 0);
}

TEST_CASE("the wide buffer forms need no memory for a record that is resolved") {
    const Ledger ledger;
    wchar_t buffer[16];
    REQUIRE(ledger->loadStringW(kLedger, kEverywhere, buffer, 16) == 7);
    REQUIRE(ledger->loadDefaultStringW(kLedger, kEverywhere, buffer, 16) == 6);

    testsupport::failNth(1);
    const int counts[] = {ledger->loadStringW(kLedger, kEverywhere, buffer, 16),
                          ledger->loadDefaultStringW(kLedger, kEverywhere, buffer, 16),
                          ledger->loadStringW(kLedger, kNowhere, buffer, 16)};
    const bool fired = testsupport::failureFired();
    testsupport::failNth(0);

    CHECK_FALSE(fired);
    CHECK(counts[0] == 7);
    CHECK(counts[1] == 6);
    CHECK(counts[2] == 0);
}

TEST_CASE("the narrow buffer forms return the wide count when the text does not fit") {
    const Ledger ledger;
    char buffer[8] = "@@@@@@@";

    CHECK(ledger->loadStringA(kLedger, kInDefault, buffer, 4) == 4);
    CHECK(std::string(buffer, 8) == std::string("\0@@@@@@", 8));

    CHECK(ledger->loadDefaultStringA(kLedger, kInModule, buffer, 6) == 6);
    CHECK(buffer[0] == '\0');

    CHECK(ledger->loadStringA(kLedger, kInDefault, buffer, 5) == 4);
    CHECK(std::string(buffer) == "Open");
}

TEST_CASE("the narrow forms convert to the ANSI code page and count wide characters") {
    const Ledger ledger;
    char buffer[16];
    std::string text;

    CHECK(ledger->loadStringA(kLedger, kAccented, buffer, 16) == 7);
    CHECK(std::string(buffer) == "\xe9t\xe9 ? \x80");
    CHECK(ledger->loadStdStringA(kLedger, kAccented, text) == 7);
    CHECK(text == "\xe9t\xe9 ? \x80");
    CHECK(ledger->loadDefaultStdStringA(kLedger, kAccented, text) == 7);
    CHECK(text == "\xe9t\xe9 ? \x80");
}

TEST_CASE("the standard-string forms replace what the string held") {
    const Ledger ledger;
    std::wstring wide(100, L'x');
    std::string narrow(100, 'x');

    CHECK(ledger->loadStdStringW(kLedger, kInDefault, wide) == 4);
    CHECK(wide == L"Open");
    CHECK(ledger->loadStdStringA(kLedger, kInDefault, narrow) == 4);
    CHECK(narrow == "Open");
}

TEST_CASE("a long string comes whole") {
    const Ledger ledger;
    for (const Form& form : kForms) {
        CAPTURE(form.name);
        const std::wstring expected(3000, form.isDefault ? L'x' : L'y');
        CHECK(form.load(*ledger, kLedger, kLong) == Loaded{3000, expected});
    }
}

TEST_CASE("the BSTR forms refuse a null pointer") {
    const Ledger ledger;

    CHECK(ledger->loadBString(kLedger, kInDefault, nullptr) == E_POINTER);
    CHECK(ledger->loadDefaultBString(kLedger, kInModule, nullptr) == E_POINTER);
}

// The origin

TEST_CASE("the origin stands before the text in every form and is counted") {
    const Ledger ledger(Switches::origin);
    for (const Form& form : kForms) {
        CAPTURE(form.name);
        form.load(*ledger, kLedger, kInModule);
        CHECK(form.load(*ledger, kLedger, kInDefault) == Loaded{18, L"ledger.dll(3):Open"});
        CHECK(form.load(*ledger, kLedger, kNowhere) == nothing(form));
    }
}

TEST_CASE("the origin names the module as the caller does") {
    const Ledger ledger(Switches::origin);
    std::wstring text;

    CHECK(ledger->loadStdStringW(L"LEDGER", kInDefault, text) == 14);

    CHECK(text == L"LEDGER(3):Open");
}

TEST_CASE("loadStringW fits origin and text together or not at all") {
    const Ledger ledger(Switches::origin);
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

// A module under a name of the given length: the manager knows it by "./" again and again.
std::wstring longName(std::size_t length) {
    std::wstring name = L"ledger.dll";
    while (name.size() + 2 <= length) name = L".\\" + name;
    return name.size() < length ? L"\\" + name : name;
}

TEST_CASE("an origin of 254 characters is the longest") {
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

TEST_CASE("a string whose origin takes 255 characters counts as missing in every form") {
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
                CHECK(form.load(*manager, name.c_str(), 7) == nothing(form));
            }
        }
    }
}

// The marks

TEST_CASE("the marks surround what the default culture had to supply and are not counted") {
    const Ledger ledger(Switches::marks);
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

TEST_CASE("the marks are converted in the narrow forms and not counted") {
    const Ledger ledger(Switches::marks);
    char buffer[16];
    std::string text;

    CHECK(ledger->loadStringA(kLedger, kInDefault, buffer, 16) == 4);
    CHECK(std::string(buffer) == "??Open??");
    CHECK(ledger->loadStdStringA(kLedger, kInDefault, text) == 4);
    CHECK(text == "??Open??");
}

TEST_CASE("the marks do not surround what the culture or the module supplied") {
    const Ledger ledger(Switches::marks);
    for (const Form& form : kForms) {
        CAPTURE(form.name);
        if (form.isDefault) continue;
        CHECK(form.load(*ledger, kLedger, kInCulture) == Loaded{6, L"Ouvrir"});
        CHECK(form.load(*ledger, kLedger, kInModule) == Loaded{6, L"module"});
        CHECK(form.load(*ledger, kLedger, kNowhere) == nothing(form));
    }
}

TEST_CASE("the default forms never have marks") {
    const Ledger ledger(Switches::marks);
    for (const Form& form : kForms) {
        if (!form.isDefault) continue;
        CAPTURE(form.name);
        form.load(*ledger, kLedger, kInModule);
        CHECK(form.load(*ledger, kLedger, kInDefault) == Loaded{4, L"Open"});
    }
}

TEST_CASE("the marks surround the strings of the default culture when it is the culture") {
    const Ledger ledger(Switches::marks);
    REQUIRE(ledger->setCulture(L"en-US"));
    std::wstring text;

    CHECK(ledger->loadStdStringW(kLedger, kInDefault, text) == 4);

    CHECK(text == L"\u65b9\u672cOpen\u6587\u65b9");
}

TEST_CASE("the marks stand around origin and text") {
    const Ledger ledger(Switches::both);
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

TEST_CASE("loadStringW empties the buffer and returns the count when the marks do not fit") {
    const Ledger ledger(Switches::marks);
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

TEST_CASE("loadStringW marks texts of up to 2043 characters") {
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

// Libraries that lie

TEST_CASE("a lying string table counts as missing and the next library is asked") {
    struct Row {
        const char* name;
        std::wstring units;
        testsupport::Lie lie;
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
        folder.put(L"ledger_en-US.dll", ResourceLibrary().stringBlock(1, row.units, row.lie));
        folder.put(L"ledger_fr-CA.dll", ResourceLibrary().stringBlock(1, row.units, row.lie));
        const LoadedModule module(folder.file(kLedger));
        const ManagerSession manager;
        REQUIRE(manager->setCulture(L"fr-CA"));
        std::wstring text;
        CHECK(manager->loadStdStringW(kLedger, 0, text) == 6);
        CHECK(text == L"module");
        CHECK(manager->loadStdStringW(kLedger, 15, text) == 0);
    }
}

// Memory and threads

TEST_CASE("every form without memory throws or succeeds and leaves the lock and its output") {
    const Ledger ledger(Switches::both);
    for (const Form& form : kForms) {
        CAPTURE(form.name);
        bool threw = false;
        const long failures = testsupport::sweepAllocationFailures(
            [&] {
                threw = false;
                try {
                    form.load(*ledger, kLedger, kLong);
                } catch (const std::bad_alloc&) {
                    threw = true;
                } catch (const _com_error& error) {
                    threw = error.Error() == E_OUTOFMEMORY;
                }
            },
            [&](long failure) {
                CAPTURE(failure);
                CHECK(threw);
                CHECK(otherThreadFinishes([&] { ledger->setResourcePath(L""); }));
            });
        CHECK(failures >= 0);
        if (std::string(form.name).find("Std") != std::string::npos) CHECK(failures > 0);
        if (std::string(form.name).find("BString") != std::string::npos) CHECK(failures == 1);
    }
}

TEST_CASE("loadStdStringW without memory leaves the string as it was") {
    const Ledger ledger;
    std::wstring text = L"before";
    testsupport::failNth(1);

    CHECK_THROWS_AS(ledger->loadStdStringW(kLedger, kLong, text), std::bad_alloc);
    testsupport::failNth(0);

    CHECK(text == L"before");
}

TEST_CASE("loadBString without memory raises E_OUTOFMEMORY and leaves null") {
    const Ledger ledger;
    REQUIRE(ledger->loadStringW(kLedger, kInDefault, std::make_unique<wchar_t[]>(8).get(), 8) == 4);
    BSTR text = reinterpret_cast<BSTR>(1);
    HRESULT hr = S_OK;
    testsupport::failNth(1);
    try {
        ledger->loadBString(kLedger, kInDefault, &text);
    } catch (const _com_error& error) {
        hr = error.Error();
    }
    testsupport::failNth(0);

    CHECK(hr == E_OUTOFMEMORY);
    CHECK(text == nullptr);
}

TEST_CASE("lookups and culture changes from several threads give whole strings") {
    const Ledger ledger;
    std::atomic<int> wrong = 0;
    const auto look = [&] {
        for (int round = 0; round < 200; ++round) {
            std::wstring text;
            ledger->loadStdStringW(kLedger, kEverywhere, text);
            if (text != L"culture" && text != L"default") ++wrong;
        }
    };
    const auto change = [&] {
        for (int round = 0; round < 25; ++round) {
            ledger->setCulture(round % 2 ? L"fr-CA" : L"en-GB");
        }
    };
    testsupport::forgiveHandles();
    std::thread first(look), second(look);
    change();
    first.join();
    second.join();

    CHECK(wrong == 0);
}

}  // namespace
