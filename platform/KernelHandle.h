#pragma once

#include <windows.h>

namespace platform {

/// Owns one kernel handle whose absence is null and closes it exactly once with `CloseHandle`. Not
/// for file handles, whose absence is INVALID_HANDLE_VALUE.
class KernelHandle {
public:
    KernelHandle() = default;
    KernelHandle(const KernelHandle&) = delete;  // a copy would be closed twice
    KernelHandle& operator=(const KernelHandle&) = delete;
    ~KernelHandle() { close(); }

    HANDLE get() const noexcept { return m_handle; }

    /// For calls that hand out a handle: closes what is held and exposes null to fill.
    HANDLE* receive() noexcept {
        close();
        m_handle = nullptr;
        return &m_handle;
    }

private:
    void close() noexcept {
        if (m_handle) ::CloseHandle(m_handle);
    }

    HANDLE m_handle = nullptr;
};

}  // namespace platform
