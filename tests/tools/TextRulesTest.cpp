#include "tools/satellites/TextRules.h"

#include <doctest/doctest.h>

#include <string>
#include <vector>

#include "tests/support/PrintedWide.h"
#include "tools/satellites/Translate.h"

namespace {

using namespace satellites;

std::vector<std::wstring> codesOf(std::wstring_view original, std::wstring_view translation) {
    std::vector<std::wstring> codes;
    for (const TextFinding& finding : compareInserts(original, translation)) {
        codes.push_back(finding.code);
    }
    return codes;
}

using Codes = std::vector<std::wstring>;

TEST_CASE("A string is a message, a printf pattern or plain text, depending on its contents") {
    struct Row {
        const wchar_t* text;
        TextKind kind;
    };
    const Row rows[] = {
        {L"", TextKind::plain},
        {L"Open", TextKind::plain},
        {L"%", TextKind::plain},
        {L"100%", TextKind::plain},
        {L"50 % of all", TextKind::plain},  // "% o" is treated as text, not as a conversion
        {L"50 % d'escompte", TextKind::plain},
        {L"%% %n %0", TextKind::plain},
        {L"%1", TextKind::message},
        {L"%99!5.2f! left", TextKind::message},
        {L"%1!*.*s!", TextKind::message},
        {L"%1 of %d", TextKind::message},
        {L"%d items", TextKind::printf},
        {L"%-08.3lf", TextKind::printf},
        {L"%*.*s", TextKind::printf},
        {L"%I64u", TextKind::printf},
        {L"%y", TextKind::plain},
        {L"%5d items", TextKind::printf},  // 5 is a width, not the number of an insert
        {L"%10s|%3d%%", TextKind::printf},
        {L"%1.1f MB", TextKind::printf},
        {L"%1d days", TextKind::message},
        {L"%1.%2", TextKind::message},
        {L"%2 was not found", TextKind::message},
        {L"%5d of %1", TextKind::message},
        {L"50 % of %d", TextKind::printf},
    };
    for (const Row& row : rows) {
        CAPTURE(std::wstring(row.text));
        CHECK(kindOf(row.text) == row.kind);
    }
}

TEST_CASE("The pieces of a string form the whole string") {
    for (const wchar_t* text : {L"", L"a", L"%", L"a %1!d! b%%c%n%0", L"%d of %s %%", L"%1!",
                                L"%1!d", L"%123", L"%1%2", L"%*.*lf%", L"\t%1\n"}) {
        for (const TextKind kind : {TextKind::plain, TextKind::message, TextKind::printf}) {
            std::wstring joined;
            for (const Piece& piece : split(text, kind)) joined += piece.text;
            CHECK(joined == text);
        }
    }
}

TEST_CASE("An insert that the module's string does not contain is an error") {
    CHECK(codesOf(L"%1 of %2", L"%1 %2 %3") == Codes{L"insert-mismatch"});
    CHECK(codesOf(L"Open", L"Ouvrir %1") == Codes{L"insert-mismatch"});
    CHECK(codesOf(L"%1!d!", L"%1!u!") == Codes{L"insert-mismatch"});
    CHECK(codesOf(L"%1!d!", L"%1") == Codes{L"insert-mismatch"});
}

TEST_CASE("The format of an insert ends at the first character that cannot be part of a format") {
    const auto pieces = split(L"%1!\td!", TextKind::message);

    REQUIRE(!pieces.empty());
    CHECK(pieces[0].text == L"%1");
    CHECK(pieces[0].format == L"s");
}

TEST_CASE("An insert that is missing in a translation causes a warning") {
    CHECK(codesOf(L"%1 of %2", L"%2") == Codes{L"insert-missing"});
    CHECK(codesOf(L"%d of %s", L"%d") == Codes{L"insert-missing"});
}

TEST_CASE("Inserts in another order or with repetitions are correct") {
    CHECK(codesOf(L"%1 of %2", L"%2 von %1").empty());
    CHECK(codesOf(L"%1", L"%1, %1").empty());
    CHECK(codesOf(L"%1", L"%1!s!").empty());
    CHECK(codesOf(L"%1!s!", L"%1!ls!").empty());
    CHECK(codesOf(L"%1%n%2", L"%1 %2%0").empty());
}

TEST_CASE("Conversions in another order are an error") {
    CHECK(codesOf(L"%d of %s", L"%s: %d") == Codes{L"printf-mismatch"});
    CHECK(codesOf(L"%d", L"%s") == Codes{L"printf-mismatch"});
    CHECK(codesOf(L"%d", L"%d %d") == Codes{L"printf-mismatch"});
    CHECK(codesOf(L"%d", L"%ld") == Codes{L"printf-mismatch"});
    CHECK(codesOf(L"%*d", L"%d") == Codes{L"printf-mismatch"});
    CHECK(codesOf(L"Open", L"%s") == Codes{L"printf-mismatch"});
}

TEST_CASE("A percent sign that printf reads as a conversion is an error") {
    CHECK(codesOf(L"%d items", L"%d articles%n") == Codes{L"printf-mismatch"});
    CHECK(codesOf(L"50%% of %s", L"50 % de %s") == Codes{L"printf-mismatch"});
    CHECK(codesOf(L"50%% of %s", L"50 % von %s") == Codes{L"printf-mismatch"});
    CHECK(codesOf(L"%d of %d", L"%d of %d %") == Codes{L"printf-mismatch"});
    CHECK(codesOf(L"%d", L"%1$d") == Codes{L"printf-mismatch"});
    CHECK(codesOf(L"%5d items", L"%5s articles") == Codes{L"printf-mismatch"});
    CHECK(codesOf(L"50% of all", L"50 % de tout").empty());  // not a printf pattern
}

TEST_CASE("A format that reads additional arguments must not change") {
    CHECK(codesOf(L"%1!*.*s! of %4", L"%4: %1!*.*s!").empty());
    CHECK(codesOf(L"%1!*.*s! of %4", L"%4: %1") == Codes{L"insert-mismatch"});
    CHECK(codesOf(L"%1!*.*s! of %4", L"%4: %2").front() == L"insert-mismatch");
}

TEST_CASE("Conversions with another width are correct") {
    CHECK(codesOf(L"%5d items", L"%3d articles").empty());
    CHECK(codesOf(L"% d", L"%d").empty());
    CHECK(codesOf(L"%d of %s", L"%05d sur %-3s").empty());
    CHECK(codesOf(L"%i", L"%d").empty());
    CHECK(codesOf(L"%d%%", L"%d %%").empty());
}

TEST_CASE("The access key is the character after a single ampersand before the tab") {
    CHECK(accessKeyOf(L"&Open") == L'O');
    CHECK(accessKeyOf(L"&ouvrir") == L'O');
    CHECK(accessKeyOf(L"R&&D &x") == L'X');
    CHECK_FALSE(accessKeyOf(L"R&&D"));
    CHECK_FALSE(accessKeyOf(L"Open&"));
    CHECK_FALSE(accessKeyOf(L"Open\tCtrl+&O"));
    CHECK_FALSE(accessKeyOf(L""));
}

TEST_CASE("The shortcut is the text after the tab") {
    CHECK(shortcutOf(L"Open\tCtrl+O") == L"Ctrl+O");
    CHECK(shortcutOf(L"Open").empty());
}

TEST_CASE("A quoted string shows control characters as escapes and is truncated to 60 characters") {
    CHECK(inQuotes(L"a\tb\nc") == L"\"a\\tb\\nc\"");
    CHECK(inQuotes(L"\x1b[31m\x9b") == L"\"\\x1b[31m\\x9b\"");
    CHECK(inQuotes(std::wstring(59, L'x') + L"\U0001F600y") ==
          L"\"" + std::wstring(59, L'x') + L"...\"");  // the surrogate pair is not split
    CHECK(inQuotes(std::wstring(100, L'x')) == L"\"" + std::wstring(60, L'x') + L"...\"");
}

TEST_CASE("A pseudo translation has accents, brackets and additional characters") {
    CHECK(pseudoTranslation(L"Open", 0) == L"[\u00d6p\u00e9\u00f1]");
    CHECK(pseudoTranslation(L"0123456789", 30) == L"[0123456789~~~~]");
}

TEST_CASE("A pseudo translation keeps inserts, access keys, markup and shortcuts") {
    CHECK(pseudoTranslation(L"%1!d! of %2", 0) == L"[%1!d! \u00f6f %2]");
    CHECK(pseudoTranslation(L"%ld o", 0) == L"[%ld \u00f6]");
    CHECK(pseudoTranslation(L"&Open\tCtrl+O", 0) == L"[&Op\u00e9\u00f1]\tCtrl+O");
    CHECK(pseudoTranslation(L"<b>o</b> &amp; &#65;", 0) == L"[<b>\u00f6</b> &amp; &#65;]");
    CHECK(pseudoTranslation(L"a < o", 0) == L"[\u00e5 < \u00f6]");
    CHECK(pseudoTranslation(L"a%no", 0) == L"[\u00e5%n\u00f6]");
    CHECK(pseudoTranslation(L"o%%0", 0) == L"[\u00f6%%0]");
    CHECK(pseudoTranslation(L"o%0", 0) == L"[\u00f6]%0");
    CHECK(pseudoTranslation(L"%1 o%0", 0) == L"[%1 \u00f6]%0");
    CHECK(pseudoTranslation(L" o\r\n", 0) == L" [\u00f6]\r\n");
    const std::wstring filter(L"All\0*.*\0", 8);
    CHECK(pseudoTranslation(filter, 30) == filter);
    CHECK(pseudoTranslation(L"", 30).empty());
    CHECK(pseudoTranslation(L"  ", 30) == L"  ");
}

TEST_CASE("A pseudo translation fits into a string table") {
    const std::wstring longest(0xFFFF, L'o');
    CHECK(pseudoTranslation(longest, 30) == longest);
    CHECK(pseudoTranslation(std::wstring(60'000, L'o'), 30).size() == 0xFFFF);
}

TEST_CASE("A pseudo translation has the inserts and the access key of the original string") {
    for (const wchar_t* text : {L"%1 of %2", L"%d items: %s", L"&Print %1\tCtrl+P", L"%1!*.*s!%n%0",
                                L"50 % of %d %", L"%5d %n"}) {
        CHECK(codesOf(text, pseudoTranslation(text, 30)).empty());
        CHECK(accessKeyOf(text) == accessKeyOf(pseudoTranslation(text, 30)));
    }
}

}  // namespace
