#pragma once

#include <windows.h>

#include <objbase.h>

#include <utility>

namespace platform {

/// Owns one handle and closes it exactly once with `Close`. A null handle is not closed. If
/// CreateFileW returns INVALID_HANDLE_VALUE, pass null instead.
template <class Handle, auto Close>
class UniqueHandle {
public:
    UniqueHandle() = default;
    /// Takes ownership of the caller's handle, which may be null.
    explicit UniqueHandle(Handle handle) noexcept : m_handle(handle) {}
    UniqueHandle(const UniqueHandle&) = delete;  // a copy would close the same handle again
    UniqueHandle& operator=(const UniqueHandle&) = delete;
    UniqueHandle(UniqueHandle&& other) noexcept : m_handle(other.detach()) {}
    UniqueHandle& operator=(UniqueHandle&& other) noexcept {
        adopt(other.detach());
        return *this;
    }
    ~UniqueHandle() { adopt(nullptr); }

    explicit operator bool() const noexcept { return m_handle != nullptr; }
    Handle get() const noexcept { return m_handle; }

    /// Closes the current handle and returns the address of a null handle. Pass this address to a
    /// function that stores a handle.
    Handle* receive() noexcept {
        adopt(nullptr);
        return &m_handle;
    }

    /// Closes the current handle and takes ownership of the caller's handle, which may be null.
    void adopt(Handle handle) noexcept {
        if (m_handle) Close(m_handle);
        m_handle = handle;
    }

    /// Transfers the handle to the caller.
    [[nodiscard]] Handle detach() noexcept { return std::exchange(m_handle, nullptr); }

private:
    Handle m_handle = nullptr;
};

/// A handle to a kernel object, such as a mutex.
using KernelHandle = UniqueHandle<HANDLE, ::CloseHandle>;

/// A handle to an open registry key. Do not use this type for predefined keys, such as
/// HKEY_CURRENT_USER.
using RegistryKey = UniqueHandle<HKEY, ::RegCloseKey>;

/// A memory block that LocalFree frees, such as text that FormatMessageW allocates.
using LocalMemory = UniqueHandle<HLOCAL, ::LocalFree>;

/// A global memory block that does not belong to a medium. For a medium, use StgMedium.
using GlobalBlock = UniqueHandle<HGLOBAL, ::GlobalFree>;

/// A memory block that CoTaskMemFree frees.
template <class T>
using TaskMemory = UniqueHandle<T*, ::CoTaskMemFree>;

/// A handle to a loaded module or data file. Do not use this type for the result of
/// GetModuleHandleW, because that function does not increment the reference count of the module.
using ModuleHandle = UniqueHandle<HMODULE, ::FreeLibrary>;

}  // namespace platform
