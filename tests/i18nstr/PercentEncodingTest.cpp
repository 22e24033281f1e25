#include <windows.h>

#include <doctest/doctest.h>

#include <new>
#include <string>
#include <string_view>

#include "i18nstr/i18nstr.h"
#include "tests/i18nstr/ScriptedConverters.h"
#include "tests/support/AllocationSpy.h"
#include "tests/support/PrintedWide.h"

namespace {

using i18nstr::escape;
using i18nstr::unescape;

struct Row {
    const char* label;
    std::wstring text;
    std::wstring result;
};

std::wstring repeated(std::size_t count, std::wstring_view text) {
    std::wstring whole;
    while (count-- > 0) whole += text;
    return whole;
}

TEST_CASE("escape returns an empty string for an empty string") {
    std::wstring escaped = L"before";

    CHECK(escape(L"", escaped));

    CHECK(escaped == L"");
}

TEST_CASE("escape encodes unsafe characters with lowercase digits") {
    const Row kRows[] = {
        {"space", L" ", L"%20"},        {"double quote", L"\"", L"%22"},
        {"number sign", L"#", L"%23"},  {"dollar", L"$", L"%24"},
        {"ampersand", L"&", L"%26"},    {"plus", L"+", L"%2b"},
        {"comma", L",", L"%2c"},        {"semicolon", L";", L"%3b"},
        {"less-than", L"<", L"%3c"},    {"equals", L"=", L"%3d"},
        {"greater-than", L">", L"%3e"}, {"question mark", L"?", L"%3f"},
        {"at sign", L"@", L"%40"},      {"left bracket", L"[", L"%5b"},
        {"backslash", L"\\", L"%5c"},   {"right bracket", L"]", L"%5d"},
        {"circumflex", L"^", L"%5e"},   {"grave accent", L"`", L"%60"},
        {"left brace", L"{", L"%7b"},   {"vertical bar", L"|", L"%7c"},
        {"right brace", L"}", L"%7d"},  {"a text around them", L"a b?c", L"a%20b%3fc"},
    };
    for (const auto& row : kRows) {
        CAPTURE(row.label);
        std::wstring escaped = L"before";
        CHECK(escape(row.text, escaped));
        CHECK(escaped == row.result);
    }
}

TEST_CASE("escape encodes control characters with two digits") {
    const Row kRows[] = {
        {"terminator", std::wstring(1, L'\0'), L"%00"},
        {"first", L"\x01", L"%01"},
        {"tab", L"\t", L"%09"},
        {"line feed", L"\n", L"%0a"},
        {"last", L"\x1f", L"%1f"},
        {"delete", L"\x7f", L"%7f"},
    };
    for (const auto& row : kRows) {
        CAPTURE(row.label);
        std::wstring escaped;
        CHECK(escape(row.text, escaped));
        CHECK(escaped == row.result);
    }
}

TEST_CASE("escape encodes each byte of a character that is not ASCII") {
    const Row kRows[] = {
        {"two bytes", L"caf\u00e9", L"caf%c3%a9"},
        {"the first of two bytes", L"\u0080", L"%c2%80"},
        {"three bytes", L"\u20ac\u4e2d", L"%e2%82%ac%e4%b8%ad"},
        {"four bytes", L"\U0001f600", L"%f0%9f%98%80"},
        {"an unpaired surrogate is the replacement character",
         L"a\xd83d"
         L"b",
         L"a%ef%bf%bdb"},
    };
    for (const auto& row : kRows) {
        CAPTURE(row.label);
        std::wstring escaped;
        CHECK(escape(row.text, escaped));
        CHECK(escaped == row.result);
    }
}

TEST_CASE("escape copies all ASCII characters except unsafe and control characters") {
    const std::wstring safe =
        L"!%'()*-./0123456789:ABCDEFGHIJKLMNOPQRSTUVWXYZ_abcdefghijklmnopqrstuvwxyz~";
    std::wstring escaped;

    CHECK(escape(safe, escaped));

    CHECK(escaped == safe);
}

TEST_CASE("escape encodes a character in the same way at every position") {
    for (wchar_t character = 0; character <= 0xFF; ++character) {
        CAPTURE(character);
        std::wstring alone;
        CHECK(escape(std::wstring(1, character), alone));
        bool isAlike = true;
        for (std::size_t place = 0; place < 40; ++place) {
            std::wstring text(40, L'a');
            text[place] = character;
            std::wstring escaped;
            isAlike = escape(text, escaped) && isAlike;
            isAlike = escaped == text.replace(place, 1, alone) && isAlike;
        }
        CHECK(isAlike);
    }
}

TEST_CASE("escape encodes 21 printable ASCII characters") {
    unsigned encoded = 0;
    for (wchar_t character = L' '; character <= L'~'; ++character) {
        std::wstring escaped;
        CHECK(escape(std::wstring(1, character), escaped));
        encoded += escaped.size() == 3;
    }
    CHECK(encoded == 21);
}

TEST_CASE("escape keeps the dots and slashes of a path") {
    std::wstring escaped;

    CHECK(escape(L"http://a/./b/../c//d:80", escaped));

    CHECK(escaped == L"http://a/./b/../c//d:80");
}

TEST_CASE("escape keeps a percent sign and the characters after it") {
    std::wstring escaped;
    CHECK(escape(L"100%", escaped));
    CHECK(escaped == L"100%");
    CHECK(escape(L"%41%zz% ", escaped));
    CHECK(escaped == L"%41%zz%%20");
}

TEST_CASE("escape encodes the text after an embedded NUL") {
    std::wstring escaped;

    CHECK(escape(std::wstring(L"a\0b", 3), escaped));

    CHECK(escaped == L"a%00b");
}

TEST_CASE("escape returns strings of up to 2083 characters") {
    const Row kRows[] = {
        {"plain", std::wstring(2083, L'a'), std::wstring(2083, L'a')},
        {"percent signs", std::wstring(2083, L'%'), std::wstring(2083, L'%')},
        {"an escape at the end", std::wstring(2080, L'a') + L' ',
         std::wstring(2080, L'a') + L"%20"},
        {"an escape one before the end", std::wstring(2079, L'a') + L" b",
         std::wstring(2079, L'a') + L"%20b"},
        {"escapes", repeated(694, L" ") + L'a', repeated(694, L"%20") + L'a'},
        {"a character of four escapes at the end", std::wstring(2071, L'a') + L"\U0001f600",
         std::wstring(2071, L'a') + L"%f0%9f%98%80"},
        {"three bytes each", repeated(231, L"\u20ac") + L"abcd",
         repeated(231, L"%e2%82%ac") + L"abcd"},
    };
    for (const auto& row : kRows) {
        CAPTURE(row.label);
        std::wstring escaped;
        CHECK(escape(row.text, escaped));
        CHECK(escaped == row.result);
        CHECK(escaped.size() == 2083);
    }
}

TEST_CASE("escape fails and clears its output if the result exceeds 2083 characters") {
    const Row kRows[] = {
        {"one plain character", std::wstring(2084, L'a'), L""},
        {"one percent sign", std::wstring(2084, L'%'), L""},
        {"the last digit of an escape", std::wstring(2081, L'a') + L' ', L""},
        {"two digits of an escape", std::wstring(2082, L'a') + L' ', L""},
        {"a whole escape", std::wstring(2083, L'a') + L' ', L""},
        {"a plain character after an escape", std::wstring(2080, L'a') + L" b", L""},
        {"escapes", repeated(695, L" "), L""},
        {"escapes in the midst of the text", repeated(720, L" "), L""},
        {"plain characters after escapes", repeated(16, L" ") + std::wstring(2048, L'a'), L""},
        {"the last byte of a character", std::wstring(2072, L'a') + L"\U0001f600", L""},
        {"the longest UTF-8", std::wstring(2083, L'\u20ac'), L""},
        {"a million characters", std::wstring(1'000'000, L'a'), L""},
    };
    for (const auto& row : kRows) {
        CAPTURE(row.label);
        std::wstring escaped = L"before";
        CHECK_FALSE(escape(row.text, escaped));
        CHECK(escaped == row.result);
    }
}

TEST_CASE("escape can replace its own input") {
    std::wstring text = L"caf\u00e9 au lait";
    CHECK(escape(text, text));
    CHECK(text == L"caf%c3%a9%20au%20lait");

    std::wstring tooLong(3000, L'a');
    CHECK_FALSE(escape(tooLong, tooLong));
    CHECK(tooLong == L"");
}

TEST_CASE("escape passes ill-formed text to the system for the conversion to UTF-8") {
    const ScriptedConverters converters;
    std::wstring escaped;

    CHECK(escape(L"a\xd83d", escaped));

    REQUIRE(converters.calls().size() == 1);
    CHECK(converters.calls()[0].codePage == CP_UTF8);
    CHECK(converters.calls()[0].flags == 0);
    CHECK(converters.calls()[0].count == 2);
    CHECK_FALSE(converters.calls()[0].namesDefaultCharacter);
}

TEST_CASE("escape fails and clears its output if the system rejects ill-formed text") {
    const ScriptedConverters converters(1);
    std::wstring escaped = L"before";

    CHECK_FALSE(escape(L"a\xd83d", escaped));

    CHECK(escaped == L"");
    CHECK(converters.calls().size() == 1);
}

TEST_CASE("escape has the same length limit for ill-formed and well-formed text") {
    // The replacement character U+FFFD is encoded as nine characters.
    const std::wstring longest = std::wstring(2074, L'a') + L'\xd83d';
    std::wstring escaped;
    CHECK(escape(longest, escaped));
    CHECK(escaped == std::wstring(2074, L'a') + L"%ef%bf%bd");

    CHECK_FALSE(escape(L'a' + longest, escaped));
    CHECK(escaped == L"");
}

// Sets the locale of the calling thread, and thereby its ANSI code page, while this object exists.
class ThreadLocale {
public:
    explicit ThreadLocale(LCID locale) : m_before(::GetThreadLocale()) {
        REQUIRE(::SetThreadLocale(locale));
    }
    ThreadLocale(const ThreadLocale&) = delete;
    ThreadLocale& operator=(const ThreadLocale&) = delete;
    ~ThreadLocale() { ::SetThreadLocale(m_before); }

private:
    LCID m_before;
};

TEST_CASE("escape returns the same result for every code page of the thread") {
    struct Locale {
        const char* label;
        LCID locale;
    };
    constexpr Locale kLocales[] = {{"one byte, western", 0x0409},
                                   {"one byte, cyrillic", 0x0419},
                                   {"one byte, right to left", 0x0401},
                                   {"one byte with accents of their own", 0x042A},
                                   {"one or two bytes", 0x0411},
                                   {"one or two bytes, with a won sign for the backslash", 0x0412},
                                   {"none but Unicode", 0x0439}};
    std::wstring text;
    for (wchar_t unit = 1; unit < 0x180; ++unit) text += unit;
    std::wstring expected;
    CHECK(escape(text, expected));
    for (const Locale& row : kLocales) {
        CAPTURE(row.label);
        const ThreadLocale locale(row.locale);
        std::wstring escaped;
        CHECK(escape(text, escaped));
        CHECK(escaped == expected);
    }
}

TEST_CASE("escape allocates only its result and throws bad_alloc when memory runs out") {
    const std::wstring text(690, L' ');
    bool outOfMemory = false;
    const auto failures = testsupport::sweepAllocationFailures(
        [&] {
            outOfMemory = false;
            try {
                std::wstring escaped;
                escape(text, escaped);
            } catch (const std::bad_alloc&) {
                outOfMemory = true;
            }
        },
        [&](long) { CHECK(outOfMemory); });

    CHECK(failures == 1);
}

TEST_CASE("unescape returns an empty string for an empty string") {
    std::wstring unescaped = L"before";

    CHECK(unescape(L"", unescaped));

    CHECK(unescaped == L"");
}

TEST_CASE("unescape decodes escapes and copies everything else") {
    const Row kRows[] = {
        {"ASCII", L"%41", L"A"},
        {"among others", L"a%20b%3fc", L"a b?c"},
        {"uppercase and lowercase digits", L"%2F%2f%4a%4A", L"//JJ"},
        {"a plus sign stays", L"a+b", L"a+b"},
        {"an encoded percent sign", L"100%25", L"100%"},
        {"an encoded escape is decoded once", L"%2541", L"%41"},
        {"two bytes", L"%c3%a9", L"\u00e9"},
        {"three bytes", L"%E2%82%AC", L"\u20ac"},
        {"four bytes", L"%f0%9f%98%80", L"\U0001f600"},
        {"characters beyond ASCII", L"caf\u00e9%20\u4e2d\U0001f600", L"caf\u00e9 \u4e2d\U0001f600"},
        {"control characters", L"%01%0a%7f", L"\x01\n\x7f"},
    };
    for (const auto& row : kRows) {
        CAPTURE(row.label);
        std::wstring unescaped = L"before";
        CHECK(unescape(row.text, unescaped));
        CHECK(unescaped == row.result);
    }
}

TEST_CASE("unescape stops before a malformed escape sequence and succeeds") {
    const Row kRows[] = {
        {"nothing after the percent sign", L"abc%", L"abc"},
        {"one digit", L"abc%4", L"abc"},
        {"no digits", L"abc%zz", L"abc"},
        {"no second digit", L"abc%4g", L"abc"},
        {"no first digit", L"abc%g4", L"abc"},
        {"a percent sign after the percent sign", L"abc%%41", L"abc"},
        {"what follows is dropped", L"a%20b%zzc%41", L"a b"},
        {"a sign is no digit", L"%+1 %-1", L""},
        {"a space is no digit", L"% 41", L""},
        {"full-width digits", L"%\uff14\uff11", L""},
        {"at the start", L"%", L""},
        {"the letters around the digits", L"a%4@", L"a"},
        {"a letter after F", L"a%4G", L"a"},
        {"a colon after 9", L"a%4:", L"a"},
        {"a slash before 0", L"a%4/", L"a"},
    };
    for (const auto& row : kRows) {
        CAPTURE(row.label);
        std::wstring unescaped = L"before";
        CHECK(unescape(row.text, unescaped));
        CHECK(unescaped == row.result);
    }
}

TEST_CASE("unescape stops at a terminator") {
    const Row kRows[] = {
        {"an encoded one", L"a%00b", L"a"},
        {"an encoded one at the start", L"%00abc", L""},
        {"one in the text", std::wstring(L"a\0b", 3), L"a"},
        {"one at the start of the text", std::wstring(L"\0b", 2), L""},
    };
    for (const auto& row : kRows) {
        CAPTURE(row.label);
        std::wstring unescaped = L"before";
        CHECK(unescape(row.text, unescaped));
        CHECK(unescaped == row.result);
    }
}

TEST_CASE("unescape stops after 2084 bytes and succeeds") {
    const std::wstring longest(2084, L'a');
    const Row kRows[] = {
        {"plain, as long as can be", longest, longest},
        {"plain, one more", longest + L'b', longest},
        {"escapes, as long as can be", repeated(2084, L"%61"), longest},
        {"escapes, one more", repeated(2085, L"%61"), longest},
        {"an escape as the last byte", std::wstring(2083, L'a') + L"%61", longest},
        {"a malformed escape after the last byte", longest + L"%zz", longest},
        {"a character cut after its first byte", std::wstring(2083, L'a') + L"\u00e9",
         std::wstring(2083, L'a') + L'\ufffd'},
        {"a million characters", std::wstring(1'000'000, L'a'), longest},
    };
    for (const auto& row : kRows) {
        CAPTURE(row.label);
        std::wstring unescaped;
        CHECK(unescape(row.text, unescaped));
        CHECK(unescaped == row.result);
    }
}

TEST_CASE("unescape replaces bytes that are not UTF-8 and succeeds") {
    const Row kRows[] = {
        {"a Latin-1 letter", L"caf%e9!", L"caf\ufffd!"},
        {"a byte that UTF-8 does not use", L"%ff", L"\ufffd"},
        {"an unpaired surrogate", L"a\xd83d", L"a\ufffd"},
    };
    for (const auto& row : kRows) {
        CAPTURE(row.label);
        std::wstring unescaped;
        CHECK(unescape(row.text, unescaped));
        CHECK(unescaped == row.result);
    }
}

TEST_CASE("unescape can replace its own input") {
    std::wstring text = L"caf%c3%a9%20au%20lait";

    CHECK(unescape(text, text));

    CHECK(text == L"caf\u00e9 au lait");
}

TEST_CASE("unescape restores the string that escape encoded") {
    const std::wstring texts[] = {
        L"a b?c&d=e",
        L"\\\\server\\share\\{42}",
        L"caf\u00e9 \u20ac 5 \u4e2d\u6587 \U0001f600",
        L"\x01\t\r\n\x7f",
        std::wstring(694, L'?'),
    };
    for (const auto& text : texts) {
        CAPTURE(text);
        std::wstring escaped;
        CHECK(escape(text, escaped));
        std::wstring restored;
        CHECK(unescape(escaped, restored));
        CHECK(restored == text);
    }
}

TEST_CASE("unescape fails and clears its output if the decoded text cannot be widened") {
    // Each conversion takes two calls to the system. The first two calls convert the string with
    // the surrogate. The next two calls convert the decoded bytes, which are not valid UTF-8.
    for (const std::size_t refused : {3u, 4u}) {
        CAPTURE(refused);
        const ScriptedConverters converters(refused);
        std::wstring unescaped = L"before";
        CHECK_FALSE(unescape(L"abc\xd83d%ff", unescaped));
        CHECK(unescaped == L"");
        CHECK(converters.calls().size() == refused);
    }
}

TEST_CASE("unescape treats a string that cannot be converted to UTF-8 as empty") {
    for (const std::size_t refused : {1u, 2u}) {
        CAPTURE(refused);
        const ScriptedConverters converters(refused);
        std::wstring unescaped = L"before";
        CHECK(unescape(L"abc\xd83d", unescaped));
        CHECK(unescaped == L"");
        CHECK(converters.calls().size() == refused);
    }
}

TEST_CASE("unescape throws bad_alloc when memory runs out") {
    const std::wstring text(200, L'a');
    bool outOfMemory = false;
    const auto failures = testsupport::sweepAllocationFailures(
        [&] {
            outOfMemory = false;
            try {
                std::wstring unescaped;
                unescape(text, unescaped);
            } catch (const std::bad_alloc&) {
                outOfMemory = true;
            }
        },
        [&](long) { CHECK(outOfMemory); });

    CHECK(failures >= 1);
}

}  // namespace
