#pragma once

#include <windows.h>

namespace platform {

/// Owns one open registry key and closes it exactly once. Not for the predefined roots.
class RegistryKey {
public:
    RegistryKey() = default;
    RegistryKey(const RegistryKey&) = delete;  // a copy would be closed twice
    RegistryKey& operator=(const RegistryKey&) = delete;
    ~RegistryKey() { close(); }

    HKEY get() const noexcept { return m_key; }

    /// For calls that open a key: closes what is held and exposes an empty handle to fill.
    HKEY* receive() noexcept {
        close();
        return &m_key;
    }

private:
    void close() noexcept {
        if (m_key) ::RegCloseKey(m_key);
        m_key = nullptr;
    }

    HKEY m_key = nullptr;
};

}  // namespace platform
