// Fuzzer targets that test the parsers for string table blocks and for time zones in the registry.
#include <algorithm>
#include <cwchar>
#include <iterator>
#include <string>
#include <vector>

#include "fuzzing/Fuzzer.h"
#include "i18nres/StringTable.h"
#include "i18nsys/i18nsys.h"
#include "tests/support/ImportHook.h"

namespace fuzz {

namespace {

void stringTables(const Input& input) {
    const std::string_view block = input.bytes();
    const i18nres::StringTable table(block.data(), block.size());
    const auto* const begin = reinterpret_cast<const wchar_t*>(block.data());
    const wchar_t* const end = begin + block.size() / sizeof(wchar_t);
    for (unsigned position = 0; position < i18nres::StringTable::kEntries; ++position) {
        const std::wstring_view entry = table.entry(position);
        if (entry.empty()) continue;
        require(entry.data() > begin && entry.data() + entry.size() <= end);
        require(entry.data()[-1] == static_cast<wchar_t>(entry.size()));
    }
}

// A time zone in the fake registry. Each line of the input defines one time zone. The first
// character of the line is a bit field. Bit 0 selects the name of the registry value: "MUI_Std" if
// it is set, otherwise "Std". Bits 1 and 2 are the number of bytes to remove from the end of the
// value. The remainder of the line is the value. The value "@zones.dll,-12" refers to the string
// that loadString() returns.
struct Zone {
    bool isIndirect;
    std::wstring text;
    DWORD missing;
};
std::vector<Zone> g_zones;

HKEY keyOf(std::size_t index) { return reinterpret_cast<HKEY>(index + 0x100); }

LSTATUS WINAPI openKey(HKEY, LPCWSTR name, DWORD, REGSAM, PHKEY key) {
    const wchar_t* const digits = std::wcsrchr(name, L' ');
    *key = keyOf(digits ? std::wcstoul(digits, nullptr, 10) : 0);
    return ERROR_SUCCESS;
}

LSTATUS WINAPI closeKey(HKEY) { return ERROR_SUCCESS; }

LSTATUS WINAPI enumerateKeys(HKEY, DWORD index, LPWSTR name, LPDWORD length, LPDWORD, LPWSTR,
                             LPDWORD, PFILETIME) {
    if (index >= g_zones.size()) return ERROR_NO_MORE_ITEMS;
    const std::wstring key = L"Zone " + std::to_wstring(index);
    if (key.size() >= *length) return ERROR_MORE_DATA;
    name[key.copy(name, key.size())] = L'\0';
    *length = static_cast<DWORD>(key.size());
    return ERROR_SUCCESS;
}

LSTATUS WINAPI queryValue(HKEY key, LPCWSTR name, LPDWORD, LPDWORD, LPBYTE data, LPDWORD size) {
    const Zone& zone = g_zones[reinterpret_cast<std::size_t>(key) - 0x100];
    if (zone.isIndirect != (std::wcscmp(name, L"MUI_Std") == 0)) return ERROR_FILE_NOT_FOUND;
    const auto whole = static_cast<DWORD>(zone.text.size() * sizeof(wchar_t));
    const DWORD bytes = whole - (std::min)(whole, zone.missing);
    if (bytes > *size) return ERROR_MORE_DATA;
    *size = bytes;
    std::copy_n(reinterpret_cast<const BYTE*>(zone.text.data()), bytes, data);
    return ERROR_SUCCESS;
}

DWORD WINAPI timeZone(LPTIME_ZONE_INFORMATION zone) {
    *zone = {};
    ::wcscpy_s(zone->StandardName, std::size(zone->StandardName), L"Test Standard Time");
    return TIME_ZONE_ID_STANDARD;
}

HMODULE WINAPI loadLibrary(LPCWSTR path, HANDLE, DWORD) {
    HMODULE self = nullptr;
    if (std::wcscmp(path, L"zones.dll") == 0) ::GetModuleHandleExW(0, nullptr, &self);
    return self;
}

int WINAPI loadString(HINSTANCE, UINT id, LPWSTR text, int size) {
    if (id != 12 || size < 19) return 0;
    ::wcscpy_s(text, static_cast<std::size_t>(size), L"Test Standard Time");
    return 18;
}

void redirect(const char* function, void* replacement) {
    require(testsupport::hookImport(::GetModuleHandleW(nullptr), function, replacement, nullptr) >
            0);
}

void timeZones(const Input& input) {
    static const bool s_redirected = [] {
        redirect("RegOpenKeyExW", reinterpret_cast<void*>(&openKey));
        redirect("RegCloseKey", reinterpret_cast<void*>(&closeKey));
        redirect("RegEnumKeyExW", reinterpret_cast<void*>(&enumerateKeys));
        redirect("RegQueryValueExW", reinterpret_cast<void*>(&queryValue));
        redirect("GetTimeZoneInformation", reinterpret_cast<void*>(&timeZone));
        redirect("LoadLibraryExW", reinterpret_cast<void*>(&loadLibrary));
        redirect("LoadStringW", reinterpret_cast<void*>(&loadString));
        return true;
    }();
    require(s_redirected);

    g_zones.clear();
    std::wstring_view rest = input.text();
    while (!rest.empty()) {
        const std::wstring_view line = rest.substr(0, rest.find(L'\n'));
        rest.remove_prefix((std::min)(line.size() + 1, rest.size()));
        if (line.empty()) continue;
        const auto kind = static_cast<unsigned>(line[0]);
        g_zones.push_back({(kind & 1) != 0, std::wstring(line.substr(1)), (kind >> 1) % 4});
    }
    wchar_t name[10];
    for (const int size : {-1, 0, 3, 10}) {
        std::fill(std::begin(name), std::end(name), L'?');
        const unsigned long answer = i18nsys::GetTimeZoneID(name, size);
        require(answer == 0xFFFFFFFF || (answer == 1 && std::wcsncmp(name, L"Zone ", 5) == 0));
        require(size > 0 || name[0] == L'?');
    }
}

}  // namespace

const Target kResourceTargets[] = {
    {"string-tables", stringTables, 400, "ab"},
    {"time-zones", timeZones, 800, "@zones.dll,-12 1@ 0 ,- Test Standard Time \n"},
    {nullptr, nullptr, 0, nullptr}};

}  // namespace fuzz
