#include "tools/satellites/PoFile.h"

#include <doctest/doctest.h>

#include <string>
#include <vector>

#include "tests/support/PrintedWide.h"
#include "tools/satellites/Utf8.h"

namespace {

using namespace satellites;

struct SyntaxError {
    unsigned line = 0, column = 0;
    std::wstring reason;
};

SyntaxError errorOf(std::string_view po) {
    try {
        readPo(po);
    } catch (const PoSyntaxError& error) {
        return {error.line, error.column, error.reason};
    }
    return {};
}

bool holds(const std::wstring& text, const wchar_t* part) {
    return text.find(part) != std::wstring::npos;
}

constexpr std::string_view kHeader =
    "msgid \"\"\nmsgstr \"\"\n\"Content-Type: text/plain; charset=UTF-8\\n\"\n\n";

std::vector<PoEntry> read(std::string_view entries) {
    return readPo(std::string(kHeader) + std::string(entries));
}

TEST_CASE("readPo reads contexts, source strings and translations") {
    const auto entries = read(
        "msgctxt \"STRING.7\"\nmsgid \"Open\"\nmsgstr \"Ouvrir\"\n\n"
        "msgctxt \"MENU.1/0\"\nmsgid \"&File\"\nmsgstr \"\"\n");

    REQUIRE(entries.size() == 2);
    CHECK(entries[0].context == L"STRING.7");
    CHECK(entries[0].text == L"Open");
    CHECK(entries[0].translation == L"Ouvrir");
    CHECK(entries[0].line == 5);
    CHECK(entries[1].context == L"MENU.1/0");
    CHECK(entries[1].translation.empty());
}

TEST_CASE("readPo joins strings of several lines and resolves escapes") {
    const auto entries = read(
        "msgctxt \"STRING.1\"\nmsgid \"\"\n\"one\\n\"\n  \"two\\t\\\"x\\\"\\\\\"\nmsgstr "
        "\"\\101\\x42\"\n");

    REQUIRE(entries.size() == 1);
    CHECK(entries[0].text == L"one\ntwo\t\"x\"\\");
    CHECK(entries[0].translation == L"AB");
}

TEST_CASE("readPo reads UTF-8 with and without a byte order mark, and both forms of line ends") {
    const std::string po = "\xEF\xBB\xBFmsgctxt \"S\"\r\nmsgid \"a\"\r\nmsgstr \"\xC3\xA9\"";
    const auto entries = readPo(po);

    REQUIRE(entries.size() == 1);
    CHECK(entries[0].translation == L"\u00e9");
}

TEST_CASE("readPo marks fuzzy entries and skips obsolete ones") {
    const auto entries = read(
        "#, c-format, fuzzy\n#| msgid \"old\"\nmsgctxt \"A\"\nmsgid \"a\"\nmsgstr \"b\"\n\n"
        "# translator\n#: place\nmsgctxt \"B\"\nmsgid \"a\"\nmsgstr \"b\"\n\n"
        "#, fuzzy\n#~ msgctxt \"C\"\n#~ msgid \"a\"\n#~ msgstr \"b\"\n\n"
        "msgctxt \"D\"\nmsgid \"a\"\nmsgstr \"b\"\n");

    REQUIRE(entries.size() == 3);
    CHECK(entries[0].isFuzzy);
    CHECK_FALSE(entries[1].isFuzzy);
    CHECK(entries[2].context == L"D");
    CHECK_FALSE(entries[2].isFuzzy);
}

TEST_CASE("readPo reports the position of a syntax error") {
    struct Row {
        const char* po;
        unsigned line, column;
        const wchar_t* reason;
    };
    const Row rows[] = {
        {"msgctxt \"A\"\nmsgid \"a\nmsgstr \"b\"\n", 2, 9, L"quote at the end"},
        {"msgctxt \"A\"\nmsgid \"a\" x\n", 2, 11, L"nothing may follow"},
        {"msgctxt A\n", 1, 9, L"text in quotes"},
        {"msgctxt \"\xC3\xA9\\q\"\n", 1, 12, L"unknown escape"},
        {"msgctxt \"\\0\"\n", 1, 11, L"not a character"},
        {"msgctxt \"\\x\"\n", 1, 12, L"not a character"},
        {"hello\n", 1, 1, L"msgctxt, msgid, msgstr"},
        {"\"a\"\n", 1, 1, L"without msgctxt"},
        {"msgid \"a\"\nmsgid \"b\"\n", 2, 1, L"in this order"},
        {"msgstr \"a\"\n", 1, 1, L"in this order"},
        {"msgctxt \"A\"\nmsgid \"a\"\n", 2, 1, L"no msgstr"},
        {"msgctxt \"A\"\nmsgid \"a\"\nmsgid_plural \"b\"\n", 3, 1, L"plural"},
        {"msgctxt \"A\"\nmsgid \"a\"\nmsgstr[0] \"b\"\n", 3, 7, L"plural"},
        {"msgid \"a\"\nmsgstr \"b\"\n", 1, 1, L"no msgctxt"},
    };
    for (const Row& row : rows) {
        CAPTURE(row.po);
        const SyntaxError error = errorOf(row.po);
        CHECK(error.line == row.line);
        CHECK(error.column == row.column);
        CAPTURE(error.reason);
        CHECK(holds(error.reason, row.reason));
    }
}

TEST_CASE("readPo rejects embedded NULs") {
    CHECK(errorOf({"msgctxt \"a\0b\"\n", 15}).column == 11);
}

TEST_CASE("readPo rejects two entries with the same context and reports both line numbers") {
    const SyntaxError error = errorOf(
        "msgctxt \"A\"\nmsgid \"a\"\nmsgstr \"b\"\n\nmsgctxt \"A\"\nmsgid \"c\"\nmsgstr \"d\"\n");

    CHECK(error.line == 5);
    CHECK(holds(error.reason, L"second entry for A"));
    CHECK(holds(error.reason, L"line 1"));
}

TEST_CASE("readPo rejects character sets other than UTF-8") {
    const SyntaxError declared =
        errorOf("msgid \"\"\nmsgstr \"Content-Type: text/plain; charset=ISO-8859-1\\n\"\n");
    CHECK(holds(declared.reason, L"ISO-8859-1"));

    const SyntaxError latin = errorOf("# caf\xE9\n");
    CHECK(latin.line == 1);
    CHECK(latin.column == 6);
    CHECK(holds(latin.reason, L"not UTF-8"));
}

TEST_CASE("readPo reads the output of writePo") {
    PoEntry header;
    header.translation = L"Content-Type: text/plain; charset=UTF-8\nLanguage: fr\n";
    std::vector<PoEntry> written(2);
    written[0] = {L"STRING.1", L"one\ntwo\n", L"un\ndeux\n", {L"A comment."}, true, true};
    written[1] = {L"MENU.1/0", L"\t\"\\\r\a\b\f\v\x01\x1F", L"\u00e9\U0001F600", {}, false, false};

    const auto entries = readPo(writePo(header, written));

    REQUIRE(entries.size() == 2);
    for (std::size_t i = 0; i < entries.size(); ++i) {
        CHECK(entries[i].context == written[i].context);
        CHECK(entries[i].text == written[i].text);
        CHECK(entries[i].translation == written[i].translation);
        CHECK(entries[i].isFuzzy == written[i].isFuzzy);
    }
}

TEST_CASE("An entry with an empty msgctxt is not the header and is written again") {
    const auto entries = read("msgctxt \"\"\nmsgid \"Open\"\nmsgstr \"Ouvrir\"\n");

    REQUIRE(entries.size() == 1);
    const auto again = readPo(writePo({}, entries));
    REQUIRE(again.size() == 1);
    CHECK(again[0].context.empty());
    CHECK(again[0].text == L"Open");
}

TEST_CASE("firstInvalidUtf8 finds the first byte that is not UTF-8") {
    CHECK(firstInvalidUtf8("") == std::string_view::npos);
    CHECK(firstInvalidUtf8("a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80") == std::string_view::npos);
    CHECK(firstInvalidUtf8("a\x80") == 1);
    CHECK(firstInvalidUtf8("\xC0\x80") == 0);  // overlong
    CHECK(firstInvalidUtf8("\xE0\x80\x80") == 0);
    CHECK(firstInvalidUtf8("\xED\xA0\x80") == 0);      // a surrogate
    CHECK(firstInvalidUtf8("\xF4\x90\x80\x80") == 0);  // past U+10FFFF
    CHECK(firstInvalidUtf8("ab\xE2\x82") == 2);        // truncated
    CHECK(firstInvalidUtf8("\xE2\x28\xA1") == 0);
}

}  // namespace
