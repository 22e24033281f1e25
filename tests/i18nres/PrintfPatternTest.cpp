#include "i18nres/PrintfPattern.h"

#include <doctest/doctest.h>

#include <string_view>

namespace {

using i18nres::isPrintfPattern;

TEST_CASE("isPrintfPattern accepts every supported conversion") {
    for (const wchar_t letter : std::wstring_view(L"diouxXcCsSpeEfFgGaA")) {
        CAPTURE(letter);
        const wchar_t pattern[] = {L'%', letter, L'\0'};
        CHECK(isPrintfPattern(pattern));
    }
}

TEST_CASE("isPrintfPattern accepts flags, widths, precisions and argument sizes") {
    for (const wchar_t* pattern :
         {L"%-+ #05.3d", L"%*.*f", L"%.s", L"%5s", L"%hs", L"%ws", L"%ls", L"%hhd", L"%lld",
          L"%I64d", L"%I32u", L"%Iu", L"%zu", L"%td", L"%jd", L"%Lf"}) {
        CAPTURE(pattern);
        CHECK(isPrintfPattern(pattern));
    }
}

TEST_CASE("isPrintfPattern accepts text without conversions and doubled percent signs") {
    CHECK(isPrintfPattern(L""));
    CHECK(isPrintfPattern(L"Open"));
    CHECK(isPrintfPattern(L"100%%"));
    CHECK(isPrintfPattern(L"%%%d%%"));
}

TEST_CASE("isPrintfPattern rejects a single percent sign at the end") {
    for (const wchar_t* pattern :
         {L"%", L"100%", L"%d%", L"%%%", L"%-", L"%5", L"%.", L"%ll", L"%I", L"%*.*"}) {
        CAPTURE(pattern);
        CHECK_FALSE(isPrintfPattern(pattern));
    }
}

TEST_CASE("isPrintfPattern rejects letters that are not conversions") {
    for (const wchar_t* pattern : {L"%y", L"%d%q", L"%5%", L"%\u00e9", L"%1!d!"}) {
        CAPTURE(pattern);
        CHECK_FALSE(isPrintfPattern(pattern));
    }
}

TEST_CASE("isPrintfPattern rejects the conversion that writes to memory") {
    CHECK_FALSE(isPrintfPattern(L"%n"));
    CHECK_FALSE(isPrintfPattern(L"%s%lln"));
}

}  // namespace
