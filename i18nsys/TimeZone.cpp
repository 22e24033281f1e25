#include <windows.h>

#include <algorithm>
#include <cwchar>
#include <iterator>

#include "i18nsys/i18nsys.h"
#include "platform/BoundedCopy.h"
#include "platform/ModuleHandle.h"
#include "platform/QuietErrorMode.h"
#include "platform/RegistryKey.h"

namespace i18nsys {
namespace {

constexpr wchar_t kTimeZonesKey[] = L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Time Zones";
constexpr unsigned long kNotFound = TIME_ZONE_ID_INVALID;

// The system's own limit for the names of a zone.
constexpr int kNameCharacters = 32;
// One more than the system's limit, so that 32 characters without a terminator are a text, too.
using ZoneName = wchar_t[kNameCharacters + 1];

constexpr std::size_t kIndirectCharacters = 255;
using IndirectString = wchar_t[kIndirectCharacters + 1];

/// Reads a value of at most N - 1 characters, whatever its type. Stored texts need not be
/// terminated; the result always is.
template <std::size_t N>
bool readValue(HKEY key, const wchar_t* valueName, wchar_t (&text)[N]) noexcept {
    std::fill_n(text, N, L'\0');
    DWORD byteCount = static_cast<DWORD>((N - 1) * sizeof(wchar_t));
    return ::RegQueryValueExW(key, valueName, nullptr, nullptr, reinterpret_cast<BYTE*>(text),
                              &byteCount) == ERROR_SUCCESS;
}

/// The library that the last name came from. All zones of a machine share one as a rule, and to
/// load it anew for each would take ten times as long as everything else here.
class NameLibrary {
public:
    /// Gives the module at `path`, as a data file: none of its code runs. Null when there is none.
    /// It stays loaded until the next call with another path.
    HMODULE load(const wchar_t* path) noexcept {
        if (std::wcscmp(path, m_path) != 0) {
            const platform::QuietErrorMode quiet;
            m_module.adopt(::LoadLibraryExW(path, nullptr, LOAD_LIBRARY_AS_DATAFILE));
            platform::copyWhole(m_path, std::size(m_path), path);
        }
        return m_module.get();
    }

private:
    IndirectString m_path = {};  // no library has the empty path
    platform::ModuleHandle m_module;
};

/// Loads the text that an indirect string names: "@", the path of a module, ",-" and the decimal
/// number of a string resource. Cuts `indirect` in two.
/// @return false when it has another form, or there is no such text.
bool loadIndirectString(NameLibrary& library, IndirectString& indirect, ZoneName& text) noexcept {
    if (indirect[0] != L'@') return false;
    wchar_t* const comma = std::wcschr(indirect, L',');
    if (!comma || comma[1] != L'-') return false;
    const wchar_t* const digits = comma + 2;
    if (*digits < L'0' || *digits > L'9') return false;
    const unsigned long id = std::wcstoul(digits, nullptr, 10);
    if (id > 0xFFFF) return false;  // the system would take the low 16 bits for another string's id

    *comma = L'\0';
    const HMODULE module = library.load(indirect + 1);
    return module && ::LoadStringW(module, static_cast<UINT>(id), text, kNameCharacters) > 0;
}

/// Reads the display name of a zone's standard time in the language of the user. The plain value in
/// the language of the installation serves only zones that have no other.
bool readStandardName(HKEY zone, NameLibrary& library, ZoneName& name) noexcept {
    IndirectString indirect;
    if (readValue(zone, L"MUI_Std", indirect)) return loadIndirectString(library, indirect, name);
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

    NameLibrary library;
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
        if (!readStandardName(zone.get(), library, name)) continue;
        if (std::wcsncmp(name, current.StandardName, kNameCharacters) != 0) continue;

        const std::size_t room = static_cast<std::size_t>(std::max(size, 0));
        return platform::copyWhole(buffer, room, keyName) ? season : kNotFound;
    }
}

}  // namespace i18nsys
