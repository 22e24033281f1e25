#pragma once

#include <windows.h>

#include <unknwn.h>

#include "platform/UniqueHandle.h"

namespace platform {

/// Returns a handle to the module that implements `object`. The module stays loaded until the
/// handle is destroyed. Returns an empty handle if the implementation is not in a module.
inline ModuleHandle moduleImplementing(IUnknown& object) noexcept {
    ModuleHandle module;
    // A COM object starts with a pointer to its virtual function table.
    const auto methods = *reinterpret_cast<const wchar_t* const*>(&object);
    ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, methods, module.receive());
    return module;
}

/// Returns the exported function `name` of a module, or null if the module does not export it.
template <class Function>
Function findFunction(HMODULE module, const char* name) noexcept {
    return reinterpret_cast<Function>(reinterpret_cast<void*>(::GetProcAddress(module, name)));
}

}  // namespace platform
