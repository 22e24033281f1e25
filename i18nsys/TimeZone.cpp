#include <windows.h>

#include <algorithm>
#include <cwchar>
#include <iterator>

#include "i18nsys/i18nsys.h"
#include "platform/BoundedCopy.h"
#include "platform/ModuleHandle.h"
#include "platform/QuietErrorMode.h"
#include "platform/UniqueHandle.h"

namespace i18nsys {
namespace {

constexpr wchar_t kTimeZonesKey[] = L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Time Zones";
constexpr unsigned long kNotFound = TIME_ZONE_ID_INVALID;

// The maximum length of the names in TIME_ZONE_INFORMATION.
constexpr int kNameCharacters = 32;
// One more character than the maximum, so that a name of 32 characters also has a terminator.
using ZoneName = wchar_t[kNameCharacters + 1];

constexpr std::size_t kIndirectCharacters = 255;
using IndirectString = wchar_t[kIndirectCharacters + 1];

/// Reads a registry value of at most N - 1 characters. The type of the value is ignored. The result
/// is always NUL-terminated, even if the value is not.
template <std::size_t N>
bool readValue(HKEY key, const wchar_t* valueName, wchar_t (&text)[N]) noexcept {
    std::fill_n(text, N, L'\0');
    DWORD byteCount = static_cast<DWORD>((N - 1) * sizeof(wchar_t));
    return ::RegQueryValueExW(key, valueName, nullptr, nullptr, reinterpret_cast<BYTE*>(text),
                              &byteCount) == ERROR_SUCCESS;
}

/// Loads the libraries that contain the names of time zones, and unloads each library only when the
/// next one is loaded. Most time zones on a machine use the same library. If this library were
/// loaded again for each time zone, GetTimeZoneID() would take ten times as long.
class NameLibrary {
public:
    /// Loads the module at `path` as a data file, so that none of its code runs. The module stays
    /// loaded until the next call with a different path. Returns null if the module cannot be
    /// loaded.
    HMODULE load(const wchar_t* path) noexcept {
        if (std::wcscmp(path, m_path) != 0) {
            const platform::QuietErrorMode quiet;
            m_module.adopt(::LoadLibraryExW(path, nullptr, LOAD_LIBRARY_AS_DATAFILE));
            platform::copyWhole(m_path, std::size(m_path), path);
        }
        return m_module.get();
    }

private:
    IndirectString m_path = {};  // empty before the first call to load()
    platform::ModuleHandle m_module;
};

/// Loads the string to which an indirect string refers. An indirect string consists of "@", the
/// path of a module, ",-" and the decimal identifier of a string resource. The function replaces
/// the comma in `indirect` with a terminator.
/// @return false if `indirect` is not an indirect string, or if the module does not contain the
///         string resource.
bool loadIndirectString(NameLibrary& library, IndirectString& indirect, ZoneName& text) noexcept {
    if (indirect[0] != L'@') return false;
    wchar_t* const comma = std::wcschr(indirect, L',');
    if (!comma || comma[1] != L'-') return false;
    const wchar_t* const digits = comma + 2;
    if (*digits < L'0' || *digits > L'9') return false;
    const unsigned long id = std::wcstoul(digits, nullptr, 10);
    if (id > 0xFFFF) return false;  // LoadStringW would use only the low 16 bits of `id`

    *comma = L'\0';
    const HMODULE module = library.load(indirect + 1);
    return module && ::LoadStringW(module, static_cast<UINT>(id), text, kNameCharacters) > 0;
}

/// Reads the display name of a zone's standard time. If the zone has the "MUI_Std" registry value,
/// the name is the localized string to which this value refers. Otherwise, the name is the "Std"
/// registry value.
bool readStandardName(HKEY zone, NameLibrary& library, ZoneName& name) noexcept {
    IndirectString indirect;
    if (readValue(zone, L"MUI_Std", indirect)) return loadIndirectString(library, indirect, name);
    return readValue(zone, L"Std", name);
}

}  // namespace

unsigned long GetTimeZoneID(wchar_t* buffer, int size) {
    TIME_ZONE_INFORMATION current = {};
    const DWORD timeZoneId = ::GetTimeZoneInformation(&current);
    if (timeZoneId == TIME_ZONE_ID_INVALID) return kNotFound;

    platform::RegistryKey zones;
    if (::RegOpenKeyExW(HKEY_LOCAL_MACHINE, kTimeZonesKey, 0, KEY_READ, zones.receive()) !=
        ERROR_SUCCESS)
        return kNotFound;

    NameLibrary library;
    for (DWORD index = 0;; ++index) {
        // Compatibility: the buffer has room for 254 characters and a terminator. The search
        // therefore fails at a key whose name has 255 characters.
        wchar_t keyName[255];
        DWORD length = static_cast<DWORD>(std::size(keyName));
        if (::RegEnumKeyExW(zones.get(), index, keyName, &length, nullptr, nullptr, nullptr,
                            nullptr) != ERROR_SUCCESS)
            return kNotFound;

        platform::RegistryKey zone;
        if (::RegOpenKeyExW(zones.get(), keyName, 0, KEY_READ, zone.receive()) != ERROR_SUCCESS)
            continue;
        ZoneName name;
        if (!readStandardName(zone.get(), library, name)) continue;
        if (std::wcsncmp(name, current.StandardName, kNameCharacters) != 0) continue;

        const std::size_t bufferSize = static_cast<std::size_t>(std::max(size, 0));
        return platform::copyWhole(buffer, bufferSize, keyName) ? timeZoneId : kNotFound;
    }
}

}  // namespace i18nsys
