#pragma once
// Redirects an imported function of a module to a function in the test until the end of the scope.
// The default module is I18nResource.dll. To redirect a function that the DLL finds with
// GetProcAddress, replace GetProcAddress.
#include <doctest/doctest.h>
#include <windows.h>

#include "tests/support/ImportHook.h"

namespace testsupport {

template <class Function>
class ReplacedImport {
public:
    /// `name` must remain valid as long as this object exists. Use a string literal.
    ReplacedImport(const char* name, Function* replacement,
                   HMODULE module = ::GetModuleHandleW(L"I18nResource.dll"))
        : m_name(name), m_module(module) {
        void* original = nullptr;
        REQUIRE(module != nullptr);
        REQUIRE(hookImport(module, name, reinterpret_cast<void*>(replacement), &original) > 0);
        m_original = reinterpret_cast<Function*>(original);
    }
    ReplacedImport(const ReplacedImport&) = delete;
    ReplacedImport& operator=(const ReplacedImport&) = delete;
    ~ReplacedImport() {
        hookImport(m_module, m_name, reinterpret_cast<void*>(m_original), nullptr);
    }

    /// Returns the function that the module would call without the redirection.
    Function* original() const { return m_original; }

private:
    const char* m_name;
    HMODULE m_module;
    Function* m_original = nullptr;
};

}  // namespace testsupport
