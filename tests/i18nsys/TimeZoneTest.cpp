#include <doctest/doctest.h>
#include <windows.h>

#include <algorithm>
#include <climits>
#include <string>
#include <string_view>

#include "i18nsys/i18nsys.h"
#include "tests/support/AllocationSpy.h"
#include "tests/support/PrintedWide.h"
#include "tests/support/PrivateRegistry.h"
#include "tests/support/ReplacedImport.h"

using testsupport::PrivateRegistry;
using testsupport::ReplacedImport;

namespace {

constexpr unsigned long kNotFound = 0xFFFFFFFF;
const std::wstring kZones = L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Time Zones";

/// Returns the bytes of a string, without a terminator, for use as registry data.
std::string_view bytesOf(const std::wstring& text) {
    return {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(wchar_t)};
}

/// Returns the path of a library with time zone names. The library is in the same folder as this
/// program.
std::wstring namesLibrary(const std::wstring& name = L"TimeZoneNames.dll") {
    wchar_t path[MAX_PATH] = {};
    ::GetModuleFileNameW(nullptr, path, MAX_PATH);
    const std::wstring program = path;
    return program.substr(0, program.rfind(L'\\') + 1) + name;
}

std::wstring indirect(const std::wstring& tail) { return L"@" + namesLibrary() + tail; }

/// Replaces the time zones in the registry with time zones that the test adds. Also replaces the
/// name of the current time zone.
class MachineTimeZones {
public:
    MachineTimeZones() {
        s_result = TIME_ZONE_ID_STANDARD;
        registry.addKey(kZones);
        setStandardName(L"Testland Standard Time");
    }

    /// @param name  A string of at most 32 characters. If it has 32 characters, it is stored
    ///              without a terminator.
    void setStandardName(std::wstring_view name) {
        std::fill_n(s_name, 32, L'\0');
        name.copy(s_name, 32);
    }
    void setResult(DWORD answer) { s_result = answer; }
    void addZone(const std::wstring& key, const std::wstring& standardName) {
        registry.setText(kZones + L"\\" + key, L"Std", standardName);
    }
    void addIndirectZone(const std::wstring& key, const std::wstring& text) {
        registry.setText(kZones + L"\\" + key, L"MUI_Std", text);
    }

    PrivateRegistry registry;

private:
    static DWORD WINAPI answer(TIME_ZONE_INFORMATION* zone) {
        for (const BYTE byte : *reinterpret_cast<BYTE(*)[sizeof *zone]>(zone)) CHECK(byte == 0);
        std::copy_n(s_name, 32, zone->StandardName);
        return s_result;
    }

    static inline wchar_t s_name[32];
    static inline DWORD s_result;
    ReplacedImport<decltype(GetTimeZoneInformation)> m_zone{"GetTimeZoneInformation", &answer};
};

std::wstring zoneKey(unsigned long expected = 1) {
    wchar_t key[256] = L"(untouched)";
    CHECK(i18nsys::GetTimeZoneID(key, 256) == expected);
    return key;
}

}  // namespace

TEST_CASE("GetTimeZoneID stores the name of the registry key of the machine's time zone") {
    DYNAMIC_TIME_ZONE_INFORMATION zone;
    const DWORD season = ::GetDynamicTimeZoneInformation(&zone);
    wchar_t key[128] = {};

    CHECK(i18nsys::GetTimeZoneID(key, 128) == season);
    CHECK(std::wstring(key) == zone.TimeZoneKeyName);
}

TEST_CASE_FIXTURE(MachineTimeZones, "GetTimeZoneID finds the zone by its standard name") {
    addZone(L"A", L"Otherland Standard Time");
    addZone(L"B", L"Testland Standard Time");
    addZone(L"C", L"Thirdland Standard Time");

    CHECK(zoneKey() == L"B");
}

TEST_CASE_FIXTURE(MachineTimeZones, "GetTimeZoneID returns the season that the system reports") {
    addZone(L"A", L"Testland Standard Time");
    for (const DWORD season : {0u, 1u, 2u}) {
        setResult(season);
        CHECK(zoneKey(season) == L"A");
    }
}

TEST_CASE_FIXTURE(MachineTimeZones,
                  "GetTimeZoneID fails if the time zone of the machine cannot be read") {
    addZone(L"A", L"Testland Standard Time");
    setResult(0xFFFFFFFF);

    CHECK(zoneKey(kNotFound) == L"(untouched)");
}

TEST_CASE("GetTimeZoneID fails on a machine without time zone keys") {
    const PrivateRegistry empty;

    CHECK(zoneKey(kNotFound) == L"(untouched)");
}

TEST_CASE_FIXTURE(MachineTimeZones, "GetTimeZoneID fails if no zone has the name") {
    CHECK(zoneKey(kNotFound) == L"(untouched)");
    addZone(L"A", L"Otherland Standard Time");
    CHECK(zoneKey(kNotFound) == L"(untouched)");
}

decltype(&::RegOpenKeyExW) g_openKey = nullptr;

LSTATUS WINAPI denyA(HKEY parent, const wchar_t* name, DWORD options, REGSAM access, HKEY* key) {
    if (name && std::wstring(name) == L"A") return ERROR_ACCESS_DENIED;
    return g_openKey(parent, name, options, access, key);
}

TEST_CASE_FIXTURE(MachineTimeZones, "GetTimeZoneID skips a zone that cannot be opened") {
    addZone(L"A", L"Testland Standard Time");
    addZone(L"B", L"Testland Standard Time");
    ReplacedImport<decltype(::RegOpenKeyExW)> denied{"RegOpenKeyExW", &denyA};
    g_openKey = denied.original();

    CHECK(zoneKey() == L"B");
}

TEST_CASE_FIXTURE(MachineTimeZones, "GetTimeZoneID compares the whole name case-sensitively") {
    addZone(L"A", L"TESTLAND Standard Time");
    addZone(L"B", L"Testland Standard Tim");
    addZone(L"C", L"Testland Standard Times");
    CHECK(zoneKey(kNotFound) == L"(untouched)");

    addZone(L"D", L"Testland Standard Time");
    CHECK(zoneKey() == L"D");
}

TEST_CASE_FIXTURE(MachineTimeZones,
                  "GetTimeZoneID returns the first of several zones with the name") {
    addZone(L"B", L"Testland Standard Time");
    addZone(L"A", L"Testland Standard Time");

    CHECK(zoneKey() == L"A");
}

TEST_CASE_FIXTURE(MachineTimeZones, "GetTimeZoneID skips zones without a name") {
    registry.addKey(kZones + L"\\A");
    registry.setText(kZones + L"\\B", L"Display", L"Testland Standard Time");
    addZone(L"C", L"Testland Standard Time");

    CHECK(zoneKey() == L"C");
}

// The value "Std".

TEST_CASE_FIXTURE(MachineTimeZones, "A plain name without a terminator is read to its end") {
    registry.setValue(kZones + L"\\A", L"Std", REG_SZ, bytesOf(L"Testland Standard Time"));

    CHECK(zoneKey() == L"A");
}

TEST_CASE_FIXTURE(MachineTimeZones, "A plain name can have all of the system's 32 characters") {
    const std::wstring longest(32, L'x');
    setStandardName(longest);
    registry.setValue(kZones + L"\\A", L"Std", REG_SZ, bytesOf(longest));

    CHECK(zoneKey() == L"A");
}

TEST_CASE_FIXTURE(MachineTimeZones,
                  "A plain name longer than the system's 32 characters is skipped") {
    setStandardName(std::wstring(32, L'x'));
    addZone(L"A", std::wstring(32, L'x'));  // 33 characters with the terminator
    CHECK(zoneKey(kNotFound) == L"(untouched)");

    setStandardName(std::wstring(31, L'x'));
    addZone(L"B", std::wstring(31, L'x'));
    CHECK(zoneKey() == L"B");
}

TEST_CASE_FIXTURE(MachineTimeZones, "A plain value of one byte is not a name") {
    registry.setValue(kZones + L"\\A", L"Std", REG_BINARY, "T");
    registry.setValue(kZones + L"\\B", L"Std", REG_SZ, "");

    CHECK(zoneKey(kNotFound) == L"(untouched)");
}

// The value "MUI_Std".

TEST_CASE_FIXTURE(MachineTimeZones,
                  "A zone's indirect name is read from the library that it refers to") {
    addIndirectZone(L"A", indirect(L",-101"));
    addIndirectZone(L"B", indirect(L",-100"));

    CHECK(zoneKey() == L"B");
}

TEST_CASE_FIXTURE(MachineTimeZones, "An indirect name has precedence over the plain one") {
    addZone(L"A", L"Testland Standard Time");
    addIndirectZone(L"A", indirect(L",-101"));
    CHECK(zoneKey(kNotFound) == L"(untouched)");

    setStandardName(L"Otherland Standard Time");
    CHECK(zoneKey() == L"A");
}

TEST_CASE_FIXTURE(
    MachineTimeZones,
    "A zone with an invalid indirect name is skipped even if its plain name matches") {
    const std::wstring library = namesLibrary();
    const std::wstring forms[] = {
        L"",
        L"Testland Standard Time",
        library + L",-100",
        L" @" + library + L",-100",
        L"@" + library,
        L"@" + library + L"-100",
        L"@" + library + L",100",
        L"@" + library + L", -100",
        L"@" + library + L",",
        L"@" + library + L",-",
        L"@" + library + L",-x",
        L"@" + library + L",--100",
        L"@,-100",
        L"@",
        L",-100",
    };
    addZone(L"A", L"Testland Standard Time");
    for (const std::wstring& form : forms) {
        CAPTURE(form);
        addIndirectZone(L"A", form);
        CHECK(zoneKey(kNotFound) == L"(untouched)");
    }
}

TEST_CASE_FIXTURE(MachineTimeZones, "A zone whose indirect name refers to nothing is skipped") {
    addZone(L"A", L"Testland Standard Time");
    for (const std::wstring& text :
         {indirect(L",-999"), indirect(L",-102"), std::wstring(L"@no such library.dll,-100"),
          indirect(L",-65636"), indirect(L",-4294967396"), indirect(L",-99999999999999999999")}) {
        CAPTURE(text);
        addIndirectZone(L"A", text);
        CHECK(zoneKey(kNotFound) == L"(untouched)");
    }
    addZone(L"B", L"Testland Standard Time");
    CHECK(zoneKey() == L"B");
}

TEST_CASE_FIXTURE(MachineTimeZones, "The number in an indirect name ends with its last digit") {
    addIndirectZone(L"A", indirect(L",-100;v2"));

    CHECK(zoneKey() == L"A");
}

TEST_CASE_FIXTURE(MachineTimeZones, "The number in an indirect name is decimal") {
    addIndirectZone(L"A", indirect(L",-0100"));

    CHECK(zoneKey() == L"A");
}

TEST_CASE_FIXTURE(MachineTimeZones, "An indirect name without a terminator is read to its end") {
    registry.setValue(kZones + L"\\A", L"MUI_Std", REG_SZ, bytesOf(indirect(L",-100")));

    CHECK(zoneKey() == L"A");
}

TEST_CASE_FIXTURE(MachineTimeZones, "An indirect name can have at most 255 characters") {
    std::wstring text = indirect(L",-100");
    text.resize(255, L' ');
    registry.setValue(kZones + L"\\A", L"MUI_Std", REG_SZ, bytesOf(text));
    CHECK(zoneKey() == L"A");

    text.resize(256, L' ');
    registry.setValue(kZones + L"\\A", L"MUI_Std", REG_SZ, bytesOf(text));
    CHECK(zoneKey(kNotFound) == L"(untouched)");
}

TEST_CASE_FIXTURE(MachineTimeZones,
                  "The plain name is used if the indirect name is too long to be read") {
    addIndirectZone(L"A", indirect(L",-101") + std::wstring(300, L' '));
    addZone(L"A", L"Testland Standard Time");

    CHECK(zoneKey() == L"A");
}

TEST_CASE_FIXTURE(MachineTimeZones, "An indirect value that is not text is read safely") {
    addZone(L"A", L"Testland Standard Time");
    registry.setValue(kZones + L"\\A", L"MUI_Std", REG_DWORD, std::string_view("@\0,\0", 4));
    CHECK(zoneKey(kNotFound) == L"(untouched)");
    registry.setValue(kZones + L"\\A", L"MUI_Std", REG_BINARY, std::string(510, '\xFF'));
    CHECK(zoneKey(kNotFound) == L"(untouched)");
    registry.setValue(kZones + L"\\A", L"MUI_Std", REG_BINARY, "@");
    CHECK(zoneKey(kNotFound) == L"(untouched)");
}

TEST_CASE_FIXTURE(MachineTimeZones, "An indirect name of 32 characters is truncated to 31") {
    addIndirectZone(L"A", indirect(L",-103"));  // the name is "x" repeated 32 times
    setStandardName(std::wstring(32, L'x'));
    CHECK(zoneKey(kNotFound) == L"(untouched)");

    setStandardName(std::wstring(31, L'x'));
    CHECK(zoneKey() == L"A");
}

TEST_CASE_FIXTURE(MachineTimeZones,
                  "The library of an indirect name is read without running its code") {
    addIndirectZone(L"A", indirect(L",-100"));
    ::SetEnvironmentVariableW(L"I18NSYS_TEST_LIBRARY_RAN", nullptr);
    REQUIRE(zoneKey() == L"A");
    CHECK(::GetEnvironmentVariableW(L"I18NSYS_TEST_LIBRARY_RAN", nullptr, 0) == 0);

    // LoadLibraryW calls the library's DllMain function, which sets the variable.
    ::FreeLibrary(::LoadLibraryW(namesLibrary().c_str()));
    CHECK(::GetEnvironmentVariableW(L"I18NSYS_TEST_LIBRARY_RAN", nullptr, 0) > 0);
    ::SetEnvironmentVariableW(L"I18NSYS_TEST_LIBRARY_RAN", nullptr);
}

DWORD g_modeDuringLoad;

HMODULE WINAPI loadNothing(const wchar_t*, HANDLE, DWORD) {
    g_modeDuringLoad = ::GetThreadErrorMode();
    return nullptr;
}

TEST_CASE_FIXTURE(MachineTimeZones, "The library of an indirect name loads without message boxes") {
    addIndirectZone(L"A", indirect(L",-100"));
    const ReplacedImport load("LoadLibraryExW", &loadNothing);
    g_modeDuringLoad = 0;

    CHECK(zoneKey(kNotFound) == L"(untouched)");

    CHECK(g_modeDuringLoad == (SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX));
    CHECK(::GetThreadErrorMode() == 0);
}

TEST_CASE_FIXTURE(MachineTimeZones, "The libraries of indirect names are freed") {
    addIndirectZone(L"A", indirect(L",-101"));
    addIndirectZone(L"B", L"@" + namesLibrary(L"OtherTimeZoneNames.dll") + L",-101");
    addIndirectZone(L"C", indirect(L",-999"));
    addIndirectZone(L"D", L"@no such library.dll,-100");
    const long before = testsupport::allocCount().libraries;
    CHECK(zoneKey(kNotFound) == L"(untouched)");
    CHECK(testsupport::allocCount().libraries == before);

    addIndirectZone(L"E", indirect(L",-100"));
    CHECK(zoneKey() == L"E");
    CHECK(testsupport::allocCount().libraries == before);
}

TEST_CASE_FIXTURE(MachineTimeZones, "Each indirect name is read from its own library") {
    addIndirectZone(L"A", indirect(L",-100"));
    addIndirectZone(L"B", L"@" + namesLibrary(L"OtherTimeZoneNames.dll") + L",-100");
    addIndirectZone(L"C", indirect(L",-101"));

    CHECK(zoneKey() == L"A");
    setStandardName(L"Strangeland Standard Time");
    CHECK(zoneKey() == L"B");
    setStandardName(L"Otherland Standard Time");
    CHECK(zoneKey() == L"C");
}

// The caller's buffer.

TEST_CASE_FIXTURE(MachineTimeZones,
                  "GetTimeZoneID fails with an empty string if the key name does not fit") {
    addZone(L"Testland", L"Testland Standard Time");
    wchar_t enough[] = L"##########";
    CHECK(i18nsys::GetTimeZoneID(enough, 9) == 1);
    CHECK(std::wstring(enough, 10) == std::wstring(L"Testland\0#", 10));

    wchar_t small[] = L"##########";
    CHECK(i18nsys::GetTimeZoneID(small, 8) == kNotFound);
    CHECK(std::wstring(small, 10) == std::wstring(L"\0#########", 10));
}

TEST_CASE_FIXTURE(MachineTimeZones,
                  "GetTimeZoneID fails for a buffer without room and does not write to it") {
    addZone(L"A", L"Testland Standard Time");
    wchar_t buffer[] = L"#";
    for (const int size : {0, -1, INT_MIN}) {
        CHECK(i18nsys::GetTimeZoneID(buffer, size) == kNotFound);
        CHECK(std::wstring(buffer) == L"#");
    }
    CHECK(i18nsys::GetTimeZoneID(nullptr, 16) == kNotFound);
    CHECK(i18nsys::GetTimeZoneID(nullptr, 0) == kNotFound);
}

TEST_CASE_FIXTURE(MachineTimeZones, "A key name can have 254 characters") {
    const std::wstring key(254, L'a');
    addZone(key, L"Testland Standard Time");

    CHECK(zoneKey() == key);
}

TEST_CASE_FIXTURE(MachineTimeZones, "A key name of 255 characters ends the search") {
    addZone(std::wstring(255, L'b'), L"Testland Standard Time");
    addZone(L"c", L"Testland Standard Time");
    CHECK(zoneKey(kNotFound) == L"(untouched)");

    addZone(L"a", L"Testland Standard Time");
    CHECK(zoneKey() == L"a");
}
