#pragma once
// Wraps all methods of the manager that load a string, so that they can be called with the same
// arguments. LedgerWithStrings loads a module that contains strings for these methods.
#include <windows.h>

#include <doctest/doctest.h>

#include <algorithm>
#include <functional>
#include <string>

#include "i18nres/Manager.h"
#include "tests/i18nres/Ledger.h"

// Ids of strings. Most of the names state which libraries contain the string.
enum : unsigned {
    kEverywhere = 1,
    kInModule = 2,
    kInDefault = 3,
    kInCulture = 4,
    kInModuleAndDefault = 5,
    kLong = 6,
    kAccented = 7,
    kNowhere = 9,
};

// Loads ledger.dll. The module and both of its satellites contain strings.
class LedgerWithStrings : public Ledger {
public:
    explicit LedgerWithStrings(testsupport::Switches switches = testsupport::Switches::none)
        : Ledger(testsupport::ResourceLibrary()
                     .string(kEverywhere, L"module")
                     .string(kInModule, L"module")
                     .string(kInModuleAndDefault, L"module")
                     .string(kInCulture, L"")
                     .string(kLong, std::wstring(3000, L'x')),
                 testsupport::ResourceLibrary()
                     .string(kEverywhere, L"default")
                     .string(kInDefault, L"Open")
                     .string(kInModuleAndDefault, L"default")
                     .string(kLong, std::wstring(3000, L'y'))
                     .string(kAccented, L"\u00e9t\u00e9 \u65b9 \u20ac"),
                 testsupport::ResourceLibrary()
                     .string(kEverywhere, L"culture")
                     .string(kInCulture, L"Ouvrir")
                     .string(kInModule, L""),
                 switches) {}
};

// The result of a method that loads a string. If the method does not change its output, `text` is
// "before". Narrow text is converted to wide text. For a BSTR, `count` is its length.
struct Loaded {
    int count;
    std::wstring text;
    bool operator==(const Loaded&) const = default;
};

inline std::wstring widened(const std::string& narrow) {
    wchar_t wide[4096];
    const int length = ::MultiByteToWideChar(CP_ACP, 0, narrow.data(),
                                             static_cast<int>(narrow.size()), wide, 4096);
    return {wide, static_cast<std::size_t>(length)};
}

struct Form {
    const char* name;
    bool isDefault;
    bool emptiesItsOutput;  // true if the method empties its output when the string is missing
    std::function<Loaded(i18nres::Manager&, const wchar_t*, unsigned)> load;
};

template <class Character, class Method>
Loaded intoBuffer(i18nres::Manager& manager, Method method, const wchar_t* module, unsigned id) {
    Character buffer[4096] = {'b', 'e', 'f', 'o', 'r', 'e'};
    const int count = (manager.*method)(module, id, buffer, 4096);
    if constexpr (sizeof(Character) == 1)
        return {count, widened(buffer)};
    else
        return {count, buffer};
}

template <class String, class Method>
Loaded intoString(i18nres::Manager& manager, Method method, const wchar_t* module, unsigned id) {
    String text(6, 'x');
    std::copy_n("before", 6, text.begin());
    const int count = (manager.*method)(module, id, text);
    if constexpr (sizeof(text[0]) == 1)
        return {count, widened(text)};
    else
        return {count, text};
}

template <class Method>
Loaded intoBstr(i18nres::Manager& manager, Method method, const wchar_t* module, unsigned id) {
    BSTR text = reinterpret_cast<BSTR>(1);  // overwritten, never freed
    const HRESULT hr = (manager.*method)(module, id, &text);
    const Loaded loaded = {static_cast<int>(::SysStringLen(text)),
                           std::wstring(text ? text : L"", ::SysStringLen(text))};
    CHECK(hr == (text ? S_OK : E_FAIL));
    ::SysFreeString(text);
    return loaded;
}

inline const Form kForms[] = {
    {"loadStringW", false, true,
     [](auto& c, auto m, auto id) {
         return intoBuffer<wchar_t>(c, &i18nres::Manager::loadStringW, m, id);
     }},
    {"loadStringA", false, true,
     [](auto& c, auto m, auto id) {
         return intoBuffer<char>(c, &i18nres::Manager::loadStringA, m, id);
     }},
    {"loadStdStringW", false, false,
     [](auto& c, auto m, auto id) {
         return intoString<std::wstring>(c, &i18nres::Manager::loadStdStringW, m, id);
     }},
    {"loadStdStringA", false, false,
     [](auto& c, auto m, auto id) {
         return intoString<std::string>(c, &i18nres::Manager::loadStdStringA, m, id);
     }},
    {"loadBString", false, true,
     [](auto& c, auto m, auto id) { return intoBstr(c, &i18nres::Manager::loadBString, m, id); }},
    {"loadDefaultStringW", true, true,
     [](auto& c, auto m, auto id) {
         return intoBuffer<wchar_t>(c, &i18nres::Manager::loadDefaultStringW, m, id);
     }},
    {"loadDefaultStringA", true, true,
     [](auto& c, auto m, auto id) {
         return intoBuffer<char>(c, &i18nres::Manager::loadDefaultStringA, m, id);
     }},
    {"loadDefaultStdStringW", true, false,
     [](auto& c, auto m, auto id) {
         return intoString<std::wstring>(c, &i18nres::Manager::loadDefaultStdStringW, m, id);
     }},
    {"loadDefaultStdStringA", true, false,
     [](auto& c, auto m, auto id) {
         return intoString<std::string>(c, &i18nres::Manager::loadDefaultStdStringA, m, id);
     }},
    {"loadDefaultBString", true, true,
     [](auto& c, auto m, auto id) {
         return intoBstr(c, &i18nres::Manager::loadDefaultBString, m, id);
     }},
};

// Returns the expected result of `form` if the string is missing.
inline Loaded notFound(const Form& form) { return {0, form.emptiesItsOutput ? L"" : L"before"}; }
