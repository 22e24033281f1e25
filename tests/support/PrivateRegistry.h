#pragma once
// Replaces HKEY_LOCAL_MACHINE with an empty key for this process until the end of the scope. The
// real keys do not change. All keys that this class creates are volatile, so they do not outlive
// the user's session even if the test crashes.
#include <doctest/doctest.h>
#include <windows.h>

#include <string>
#include <string_view>

namespace testsupport {

class PrivateRegistry {
public:
    PrivateRegistry() : m_path(L"I18nResource tests " + std::to_wstring(::GetCurrentProcessId())) {
        REQUIRE(::RegCreateKeyExW(HKEY_CURRENT_USER, m_path.c_str(), 0, nullptr,
                                  REG_OPTION_VOLATILE, KEY_ALL_ACCESS, nullptr, &m_root,
                                  nullptr) == ERROR_SUCCESS);
        REQUIRE(::RegOverridePredefKey(HKEY_LOCAL_MACHINE, m_root) == ERROR_SUCCESS);
    }
    PrivateRegistry(const PrivateRegistry&) = delete;
    PrivateRegistry& operator=(const PrivateRegistry&) = delete;
    ~PrivateRegistry() {
        ::RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
        ::RegCloseKey(m_root);
        ::RegDeleteTreeW(HKEY_CURRENT_USER, m_path.c_str());
        // When HKEY_LOCAL_MACHINE is next used, the system opens the real key and keeps its handle.
        // Use the key now, so that the handle is not reported as a leak in a later test case.
        HKEY software = nullptr;
        ::RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"SOFTWARE", 0, KEY_READ, &software);
        ::RegCloseKey(software);
    }

    /// Adds a key and all missing parent keys. The path is relative to HKEY_LOCAL_MACHINE.
    void addKey(const std::wstring& path) const { ::RegCloseKey(create(path)); }

    /// Stores `bytes` without an additional terminator.
    void setValue(const std::wstring& path, const wchar_t* name, DWORD type,
                  std::string_view bytes) const {
        const HKEY key = create(path);
        // RegSetValueExW may also store a NUL that follows the data in memory. Therefore, put other
        // characters after the data.
        const std::string data = std::string(bytes) + "xx";
        CHECK(::RegSetValueExW(key, name, 0, type, reinterpret_cast<const BYTE*>(data.data()),
                               static_cast<DWORD>(bytes.size())) == ERROR_SUCCESS);
        ::RegCloseKey(key);
    }

    /// Stores a REG_SZ value with its terminator.
    void setText(const std::wstring& path, const wchar_t* name, const std::wstring& text) const {
        setValue(
            path, name, REG_SZ,
            {reinterpret_cast<const char*>(text.c_str()), (text.size() + 1) * sizeof(wchar_t)});
    }

private:
    HKEY create(const std::wstring& path) const {
        HKEY key = nullptr;
        REQUIRE(::RegCreateKeyExW(m_root, path.c_str(), 0, nullptr, REG_OPTION_VOLATILE,
                                  KEY_ALL_ACCESS, nullptr, &key, nullptr) == ERROR_SUCCESS);
        return key;
    }

    std::wstring m_path;
    HKEY m_root = nullptr;
};

}  // namespace testsupport
