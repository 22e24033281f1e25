// Makes each allocation in every conversion fail once. After a failed allocation, the conversion
// must throw or report the failure as described in docs/failures.md, and leak no block. After each
// failure, the same conversion must succeed if no allocation fails.
#include <windows.h>

#include <doctest/doctest.h>
#include <oleauto.h>

#include <string>

#include "i18nstr/i18nstr.h"
#include "tests/support/FailingMemory.h"

namespace {

using namespace testsupport;

const std::string kNarrow(300, 'x');
const std::wstring kWide(300, L'x');

// Returns a FailingCall that passes a new string of type `To` to `convert`.
template <class To, class Convert>
FailingCall into(const char* name, Convert convert) {
    return {name, kThrowsBadAlloc, [convert] {
                To output;
                return failureUnless(convert(output) && output.size() == 300);
            }};
}

template <class Convert>
FailingCall intoBstr(const char* name, Convert convert) {
    return {name, kReturnsFailure, [convert] {
                BSTR output = nullptr;
                const bool converted = convert(&output);
                CHECK((output != nullptr) == converted);
                ::SysFreeString(output);
                return failureUnless(converted);
            }};
}

TEST_CASE("A conversion succeeds or throws, and one to a BSTR succeeds or returns false and null") {
    everyAllocationFails({
        into<std::wstring>("mb2wide",
                           [](auto& o) { return i18nstr::mb2wide(kNarrow.c_str(), -1, o); }),
        into<std::string>("wide2mb",
                          [](auto& o) { return i18nstr::wide2mb(kWide.c_str(), -1, o); }),
        into<std::wstring>("UTF82wide",
                           [](auto& o) { return i18nstr::UTF82wide(kNarrow.c_str(), -1, o); }),
        into<std::string>("wide2UTF8",
                          [](auto& o) { return i18nstr::wide2UTF8(kWide.c_str(), -1, o); }),
        into<std::string>("wide2ascii7",
                          [](auto& o) { return i18nstr::wide2ascii7(kWide.c_str(), 300, o); }),
        into<std::string>("wide2ascii7 up to the terminator",
                          [](auto& o) { return i18nstr::wide2ascii7(kWide.c_str(), o); }),
        into<std::string>("wide2latin",
                          [](auto& o) { return i18nstr::wide2latin(kWide.c_str(), 300, o); }),
        into<std::string>("wide2latin up to the terminator",
                          [](auto& o) { return i18nstr::wide2latin(kWide.c_str(), o); }),
        into<std::wstring>("ascii72wide",
                           [](auto& o) { return i18nstr::ascii72wide(kNarrow.c_str(), 300, o); }),
        into<std::wstring>("ascii72wide up to the terminator",
                           [](auto& o) { return i18nstr::ascii72wide(kNarrow.c_str(), o); }),
        into<std::wstring>("latin2wide",
                           [](auto& o) { return i18nstr::latin2wide(kNarrow.c_str(), 300, o); }),
        into<std::wstring>("latin2wide up to the terminator",
                           [](auto& o) { return i18nstr::latin2wide(kNarrow.c_str(), o); }),
        into<std::string>("mb2ascii7",
                          [](auto& o) { return i18nstr::mb2ascii7(kNarrow.c_str(), 300, o); }),
        into<std::string>("mb2ascii7 up to the terminator",
                          [](auto& o) { return i18nstr::mb2ascii7(kNarrow.c_str(), o); }),
        into<std::wstring>("escape", [](auto& o) { return i18nstr::escape(kWide, o); }),
        into<std::wstring>("unescape", [](auto& o) { return i18nstr::unescape(kWide, o); }),
        intoBstr("mb2wide into a BSTR",
                 [](BSTR* o) { return i18nstr::mb2wide(kNarrow.c_str(), -1, o); }),
        intoBstr("mb2wide of a part into a BSTR",  // the system performs this conversion
                 [](BSTR* o) { return i18nstr::mb2wide(kNarrow.c_str(), 100, o); }),
        intoBstr("UTF82wide into a BSTR",
                 [](BSTR* o) { return i18nstr::UTF82wide(kNarrow.c_str(), -1, o); }),
    });
}

TEST_CASE("Functions that do not create a string allocate nothing") {
    char buffer[400];
    std::wstring text = kWide;
    everyAllocationFails({
        {"wide2mb into a buffer", 0,
         [&] { return failureUnless(i18nstr::wide2mb(kWide.c_str(), -1, buffer, 400)); }},
        {"isAscii7", 0, [] { return failureUnless(i18nstr::isAscii7(kNarrow.c_str())); }},
        {"compare", 0,
         [] { return i18nstr::compare(kWide.c_str(), kWide.c_str()) ? E_FAIL : S_OK; }},
        {"toupper and tolower", 0,
         [&] {
             i18nstr::toupper(text);
             i18nstr::tolower(text);
             return failureUnless(text == kWide);
         }},
    });
}

}  // namespace
