#include <windows.h>

#include <algorithm>
#include <cwchar>
#include <iterator>

#include "i18nsys/i18nsys.h"
#include "platform/BoundedCopy.h"
#include "platform/ModuleHandle.h"
#include "platform/RegistryKey.h"

namespace i18nsys {
namespace {

constexpr wchar_t kTimeZonesKey[] = L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Time Zones";
constexpr unsigned long kNotFound = TIME_ZONE_ID_INVALID;

// The system's own limit for the names of a zone.
constexpr int kNameCharacters = 32;
// One more than the system's limit, so that 32 characters without a terminator are a text, too.
using ZoneName = wchar_t[kNameCharacters + 1];

/// Reads a value of at most N - 1 characters, whatever its type. Stored texts need not be
/// terminated; the result always is.
template <std::size_t N>
bool readValue(HKEY key, const wchar_t* valueName, wchar_t (&text)[N]) noexcept {
    std::fill_n(text, N, L'\0');
    DWORD byteCount = (N - 1) * sizeof(wchar_t);
    return ::RegQueryValueExW(key, valueName, nullptr, nullptr, reinterpret_cast<BYTE*>(text),
                              &byteCount) == ERROR_SUCCESS;
}

/// Loads the text that an indirect string names: "@", the path of a module, ",-" and the decimal
/// number of a string resource. Cuts `indirect` in two.
/// @return false when it has another form, or there is no such text.
bool loadIndirectString(wchar_t* indirect, ZoneName& text) noexcept {
    if (*indirect != L'@') return false;
    wchar_t* const comma = std::wcschr(indirect, L',');
    if (!comma || comma[1] != L'-') return false;
    const wchar_t* const digits = comma + 2;
    if (*digits < L'0' || *digits > L'9') return false;
    const unsigned long id = std::wcstoul(digits, nullptr, 10);
    if (id > 0xFFFF) return false;  // the system would take the low 16 bits for another string's id
    *comma = L'\0';

    const platform::ModuleHandle module(
        ::LoadLibraryExW(indirect + 1, nullptr, LOAD_LIBRARY_AS_DATAFILE));
    return module && ::LoadStringW(module.get(), static_cast<UINT>(id), text, kNameCharacters) > 0;
}

/// Reads the display name of a zone's standard time in the language of the user. The plain value in
/// the language of the installation serves only zones that have no other.
bool readStandardName(HKEY zone, ZoneName& name) noexcept {
    wchar_t indirect[255 + 1];
    if (readValue(zone, L"MUI_Std", indirect)) return loadIndirectString(indirect, name);
    return readValue(zone, L"Std", name);
}

}  // namespace

unsigned long GetTimeZoneID(wchar_t* buffer, int size) {
    TIME_ZONE_INFORMATION current = {};
    const DWORD season = ::GetTimeZoneInformation(&current);
    if (season == TIME_ZONE_ID_INVALID) return kNotFound;

    platform::RegistryKey zones;
    if (::RegOpenKeyExW(HKEY_LOCAL_MACHINE, kTimeZonesKey, 0, KEY_READ, zones.receive()) !=
        ERROR_SUCCESS)
        return kNotFound;

    for (DWORD index = 0;; ++index) {
        // kept: a key name of 255 characters does not fit with its terminator, and the search ends.
        wchar_t keyName[255];
        DWORD length = static_cast<DWORD>(std::size(keyName));
        if (::RegEnumKeyExW(zones.get(), index, keyName, &length, nullptr, nullptr, nullptr,
                            nullptr) != ERROR_SUCCESS)
            return kNotFound;

        platform::RegistryKey zone;
        if (::RegOpenKeyExW(zones.get(), keyName, 0, KEY_READ, zone.receive()) != ERROR_SUCCESS)
            continue;
        ZoneName name;
        if (!readStandardName(zone.get(), name)) continue;
        if (std::wcsncmp(name, current.StandardName, kNameCharacters) != 0) continue;

        const std::size_t room = static_cast<std::size_t>(std::max(size, 0));
        return platform::copyWhole(buffer, room, keyName) ? season : kNotFound;
    }
}

}  // namespace i18nsys
