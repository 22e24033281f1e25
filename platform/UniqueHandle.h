#pragma once

#include <windows.h>

#include <objbase.h>

#include <utility>

namespace platform {

/// Owns one handle and closes it exactly once with `Close`. Only for handles whose absence is null,
/// so not for the file handles of CreateFileW.
template <class Handle, auto Close>
class UniqueHandle {
public:
    UniqueHandle() = default;
    /// Takes ownership of a handle of the caller, which may be null.
    explicit UniqueHandle(Handle handle) noexcept : m_handle(handle) {}
    UniqueHandle(const UniqueHandle&) = delete;  // a copy would be closed twice
    UniqueHandle& operator=(const UniqueHandle&) = delete;
    UniqueHandle(UniqueHandle&& other) noexcept : m_handle(other.detach()) {}
    UniqueHandle& operator=(UniqueHandle&& other) noexcept {
        adopt(other.detach());
        return *this;
    }
    ~UniqueHandle() { adopt(nullptr); }

    explicit operator bool() const noexcept { return m_handle != nullptr; }
    Handle get() const noexcept { return m_handle; }

    /// For calls that store a handle: closes the present one and returns the address of null.
    Handle* receive() noexcept {
        adopt(nullptr);
        return &m_handle;
    }

    /// Takes ownership of a handle of the caller, which may be null.
    void adopt(Handle handle) noexcept {
        if (m_handle) Close(m_handle);
        m_handle = handle;
    }

    /// Transfers the handle to the caller.
    [[nodiscard]] Handle detach() noexcept { return std::exchange(m_handle, nullptr); }

private:
    Handle m_handle = nullptr;
};

/// A handle of the kernel, such as a mutex.
using KernelHandle = UniqueHandle<HANDLE, ::CloseHandle>;

/// An open registry key. Not for the predefined keys.
using RegistryKey = UniqueHandle<HKEY, ::RegCloseKey>;

/// A block for LocalFree, such as the text of FormatMessageW.
using LocalMemory = UniqueHandle<HLOCAL, ::LocalFree>;

/// A global memory block. Not for the block of a medium: StgMedium owns that.
using GlobalBlock = UniqueHandle<HGLOBAL, ::GlobalFree>;

/// A block of task memory.
template <class T>
using TaskMemory = UniqueHandle<T*, ::CoTaskMemFree>;

/// A counted reference to a loaded module or data file. Not for the result of GetModuleHandleW,
/// which is not counted.
using ModuleHandle = UniqueHandle<HMODULE, ::FreeLibrary>;

}  // namespace platform
