#pragma once
#include <doctest/doctest.h>

#include "tests/support/ImportHook.h"

namespace testsupport {

// Puts a function in the place of one that the library under test imports, for the length of a
// scope.
template <class Function>
class ScopedHook {
public:
    // `original` receives the function that was there, for the replacement to call.
    ScopedHook(const char* name, Function replacement, Function& original)
        : m_name(name), m_original(original) {
        void* before = nullptr;
        REQUIRE(hookImport(library(), name, reinterpret_cast<void*>(replacement), &before) == 1);
        original = reinterpret_cast<Function>(before);
    }
    ScopedHook(const ScopedHook&) = delete;
    ScopedHook& operator=(const ScopedHook&) = delete;
    ~ScopedHook() { hookImport(library(), m_name, reinterpret_cast<void*>(m_original), nullptr); }

private:
    static HMODULE library() { return ::GetModuleHandleW(L"I18nResource.dll"); }

    const char* m_name;
    Function& m_original;
};

}  // namespace testsupport
