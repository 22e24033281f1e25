#pragma once

#include <windows.h>

#include <unknwn.h>

#include <utility>

namespace platform {

/// Owns one counted reference to a loaded module, also one that is loaded as a data file, and gives
/// it back exactly once. Not for what GetModuleHandleW answers: that is not counted.
class ModuleHandle {
public:
    ModuleHandle() = default;
    /// Takes over a reference that the caller owns, which may be null.
    explicit ModuleHandle(HMODULE module) noexcept : m_module(module) {}
    ModuleHandle(const ModuleHandle&) = delete;  // a copy would be freed twice
    ModuleHandle& operator=(const ModuleHandle&) = delete;
    ModuleHandle(ModuleHandle&& other) noexcept : m_module(other.detach()) {}
    ModuleHandle& operator=(ModuleHandle&& other) noexcept {
        adopt(other.detach());
        return *this;
    }
    ~ModuleHandle() { adopt(nullptr); }

    /// A reference to the module that implements an object: it stays loaded as long as the result
    /// lives. Null when the object's code lies in no module.
    static ModuleHandle implementing(IUnknown& object) noexcept {
        ModuleHandle module;
        // The first thing in a COM object is the address of its function table.
        const auto functionTable = *reinterpret_cast<const wchar_t* const*>(&object);
        ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, functionTable,
                             module.receive());
        return module;
    }

    HMODULE get() const noexcept { return m_module; }
    explicit operator bool() const noexcept { return m_module != nullptr; }

    /// The exported function `name` as a pointer of type `Function`, or null when there is none.
    template <class Function>
    Function find(const char* name) const noexcept {
        return reinterpret_cast<Function>(
            reinterpret_cast<void*>(::GetProcAddress(m_module, name)));
    }

    /// For calls that hand out a reference: frees what is held and exposes an empty handle to fill.
    HMODULE* receive() noexcept {
        adopt(nullptr);
        return &m_module;
    }

    /// Takes over a reference that the caller owns, which may be null.
    void adopt(HMODULE module) noexcept {
        if (m_module) ::FreeLibrary(m_module);
        m_module = module;
    }

    /// Hands the reference to the caller, who frees it.
    [[nodiscard]] HMODULE detach() noexcept { return std::exchange(m_module, nullptr); }

private:
    HMODULE m_module = nullptr;
};

}  // namespace platform
