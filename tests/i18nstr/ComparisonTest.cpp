#include <windows.h>

#include <doctest/doctest.h>

#include <clocale>
#include <cstring>
#include <cwctype>
#include <string>
#include <string_view>
#include <vector>

#include "i18nstr/i18nstr.h"
#include "tests/support/PrintedWide.h"
#include "tests/support/ReplacedImport.h"

namespace {

using i18nstr::compare;

struct Row {
    const char* label;
    const char* left;
    const char* right;
    int order;
};
constexpr Row kRows[] = {
    {"both empty", "", "", 0},
    {"equal", "Orders", "Orders", 0},
    {"one empty", "", "a", -1},
    {"a prefix comes first", "abc", "abcd", -1},
    {"letters", "apple", "banana", -1},
    {"a letter outweighs the case of another", "aB", "Ab", -1},
    {"letters outweigh case", "Apple", "banana", -1},
    {"lowercase comes first", "abc", "ABC", -1},
    {"digits come before letters", "5", "a", -1},
};

std::wstring widened(std::string_view text) { return {text.begin(), text.end()}; }

TEST_CASE("compare orders narrow strings like the system") {
    for (const auto& row : kRows) {
        CAPTURE(row.label);
        const auto leftLength = static_cast<int>(std::strlen(row.left));
        const auto rightLength = static_cast<int>(std::strlen(row.right));
        CHECK(compare(row.left, row.right) == row.order);
        CHECK(compare(row.right, row.left) == -row.order);
        CHECK(compare(row.left, leftLength, row.right, rightLength) == row.order);
        CHECK(compare(row.right, rightLength, row.left, leftLength) == -row.order);
        CHECK(compare(row.left, -1, row.right, -1) == row.order);
    }
}

TEST_CASE("compare orders wide strings like the system") {
    for (const auto& row : kRows) {
        CAPTURE(row.label);
        const std::wstring left = widened(row.left);
        const std::wstring right = widened(row.right);
        const auto leftLength = static_cast<int>(left.size());
        const auto rightLength = static_cast<int>(right.size());
        CHECK(compare(left.c_str(), right.c_str()) == row.order);
        CHECK(compare(right.c_str(), left.c_str()) == -row.order);
        CHECK(compare(left.c_str(), leftLength, right.c_str(), rightLength) == row.order);
        CHECK(compare(right.c_str(), rightLength, left.c_str(), leftLength) == -row.order);
        CHECK(compare(left.c_str(), -1, right.c_str(), -1) == row.order);
    }
}

TEST_CASE("compare distinguishes uppercase and lowercase") {
    CHECK(compare("abc", "ABC") != 0);
    CHECK(compare("abc", 3, "ABC", 3) != 0);
    CHECK(compare(L"abc", L"ABC") != 0);
    CHECK(compare(L"abc", 3, L"ABC", 3) != 0);
}

TEST_CASE("compare does not distinguish half-width and full-width forms") {
    CHECK(compare(L"A1", L"\uff21\uff11") == 0);
    CHECK(compare(L"A1", 2, L"\uff21\uff11", 2) == 0);
    CHECK(compare(L"\uff76", L"\u30ab") == 0);  // the katakana KA
    CHECK(compare(L"A", L"\uff41") != 0);       // full-width a
}

TEST_CASE("A comparison with lengths ends at these lengths") {
    CHECK(compare("abcX", 3, "abcY", 3) == 0);
    CHECK(compare("abcX", 3, "abc", -1) == 0);
    CHECK(compare("abcX", 4, "abcY", 4) == -1);
    CHECK(compare(L"abcX", 3, L"abcY", 3) == 0);
    CHECK(compare(L"abcX", 3, L"abc", -1) == 0);
    CHECK(compare(L"abcX", 4, L"abcY", 4) == -1);
}

TEST_CASE("compare includes the characters after embedded NULs in strings with a length") {
    CHECK(compare("a\0x", "a\0y") == 0);
    CHECK(compare("a\0x", 3, "a\0y", 3) == -1);
    CHECK(compare(L"a\0x", L"a\0y") == 0);
    CHECK(compare(L"a\0x", 3, L"a\0y", 3) == -1);
}

TEST_CASE("Comparing a null string returns 0") {
    const char* const noText = nullptr;
    CHECK(compare(noText, "a") == 0);
    CHECK(compare("a", noText) == 0);
    CHECK(compare(noText, noText) == 0);
    CHECK(compare(noText, 1, "a", 1) == 0);
    CHECK(compare("a", -1, noText, -1) == 0);
    CHECK(compare(noText, 0, "a", 1) == 0);

    const wchar_t* const noWideText = nullptr;
    CHECK(compare(noWideText, L"a") == 0);
    CHECK(compare(L"a", noWideText) == 0);
    CHECK(compare(noWideText, noWideText) == 0);
    CHECK(compare(noWideText, 1, L"a", 1) == 0);
    CHECK(compare(L"a", -1, noWideText, -1) == 0);
    CHECK(compare(noWideText, 0, L"a", 1) == 0);
}

// Replaces the system's comparison functions while this object exists. The replacements record each
// call and return a fixed result.
class ScriptedComparison {
public:
    struct Call {
        LCID locale;
        DWORD flags;
        int leftLength;
        int rightLength;
    };

    explicit ScriptedComparison(int answer) : m_result(answer) { s_current = this; }
    ScriptedComparison(const ScriptedComparison&) = delete;
    ScriptedComparison& operator=(const ScriptedComparison&) = delete;
    ~ScriptedComparison() { s_current = nullptr; }

    const std::vector<Call>& calls() const { return m_calls; }

private:
    int answer(const Call& call) {
        m_calls.push_back(call);
        return m_result;
    }
    static int WINAPI compareA(LCID locale, DWORD flags, PCNZCH, int left, PCNZCH, int right) {
        return s_current->answer({locale, flags, left, right});
    }
    static int WINAPI compareW(LCID locale, DWORD flags, PCNZWCH, int left, PCNZWCH, int right) {
        return s_current->answer({locale, flags, left, right});
    }

    static inline ScriptedComparison* s_current = nullptr;

    int m_result;
    std::vector<Call> m_calls;
    testsupport::ReplacedImport<decltype(compareA)> m_compareA{"CompareStringA", compareA};
    testsupport::ReplacedImport<decltype(compareW)> m_compareW{"CompareStringW", compareW};
};

TEST_CASE("The system's results become -1, 0 and 1, and its failure becomes 0") {
    struct SystemResult {
        int system;
        int order;
    };
    constexpr SystemResult kSystemResults[] = {
        {CSTR_LESS_THAN, -1}, {CSTR_EQUAL, 0}, {CSTR_GREATER_THAN, 1}, {0, 0}};
    for (const auto& answer : kSystemResults) {
        CAPTURE(answer.system);
        const ScriptedComparison comparison(answer.system);
        CHECK(compare("a", "b") == answer.order);
        CHECK(compare("a", 1, "b", 1) == answer.order);
        CHECK(compare(L"a", L"b") == answer.order);
        CHECK(compare(L"a", 1, L"b", 1) == answer.order);
    }
}

TEST_CASE("compare uses the system default locale and ignores only the width") {
    const ScriptedComparison comparison(CSTR_EQUAL);
    compare("abc", "de");
    compare("abc", 2, "de", -1);
    compare(L"abc", L"de");
    compare(L"abc", 2, L"de", -1);

    REQUIRE(comparison.calls().size() == 4);
    for (const auto& call : comparison.calls()) {
        CHECK(call.locale == 0x0800);
        CHECK(call.flags == 0x00020000);
    }
}

TEST_CASE("compare without lengths measures both strings") {
    const ScriptedComparison comparison(CSTR_EQUAL);
    compare("abc", "de");
    compare(L"abc", L"de");

    REQUIRE(comparison.calls().size() == 2);
    for (const auto& call : comparison.calls()) {
        CHECK(call.leftLength == 3);
        CHECK(call.rightLength == 2);
    }
}

TEST_CASE("compare passes lengths to the system unchanged") {
    const ScriptedComparison comparison(CSTR_EQUAL);
    compare("abc", 2, "de", -1);
    compare(L"abc", 2, L"de", -1);

    REQUIRE(comparison.calls().size() == 2);
    for (const auto& call : comparison.calls()) {
        CHECK(call.leftLength == 2);
        CHECK(call.rightLength == -1);
    }
}

TEST_CASE("tolower and toupper leave an empty string empty") {
    std::wstring text;
    i18nstr::tolower(text);
    CHECK(text == L"");
    i18nstr::toupper(text);
    CHECK(text == L"");
}

TEST_CASE("tolower and toupper change only letters") {
    std::wstring text = L"Price List 42 [a-Z]";

    i18nstr::toupper(text);
    CHECK(text == L"PRICE LIST 42 [A-Z]");
    i18nstr::tolower(text);
    CHECK(text == L"price list 42 [a-z]");
}

TEST_CASE("tolower and toupper change the characters after an embedded NUL") {
    std::wstring text(L"a\0b", 3);

    i18nstr::toupper(text);
    CHECK(text == std::wstring(L"A\0B", 3));
    i18nstr::tolower(text);
    CHECK(text == std::wstring(L"a\0b", 3));
}

TEST_CASE("A case change never changes the length") {
    std::wstring text = L"stra\u00dfe \ufb01 \U00010428";

    i18nstr::toupper(text);

    CHECK(text.size() == 11);
}

// Sets the locale of the C runtime library to the user's locale while this object exists.
class UserLocale {
public:
    UserLocale() { REQUIRE(std::setlocale(LC_CTYPE, "") != nullptr); }
    UserLocale(const UserLocale&) = delete;
    UserLocale& operator=(const UserLocale&) = delete;
    ~UserLocale() { std::setlocale(LC_CTYPE, "C"); }
};

void checkEveryUnit() {
    std::wstring units;
    for (unsigned code = 0; code <= 0xffff; ++code) units.push_back(static_cast<wchar_t>(code));

    std::wstring upper = units;
    i18nstr::toupper(upper);
    std::wstring lower = units;
    i18nstr::tolower(lower);

    REQUIRE(upper.size() == units.size());
    REQUIRE(lower.size() == units.size());
    unsigned differences = 0;
    for (std::size_t i = 0; i < units.size(); ++i) {
        differences += upper[i] != static_cast<wchar_t>(std::towupper(units[i]));
        differences += lower[i] != static_cast<wchar_t>(std::towlower(units[i]));
    }
    CHECK(differences == 0);
}

TEST_CASE("The case of each character changes as in the C runtime") { checkEveryUnit(); }

TEST_CASE("The case of each character changes as in the C runtime with the user's locale") {
    const UserLocale locale;
    checkEveryUnit();
}

TEST_CASE("The case of letters other than ASCII changes in the user's locale") {
    const UserLocale locale;
    std::wstring text = L"caf\u00e9 \u0436";

    i18nstr::toupper(text);
    CHECK(text == L"CAF\u00c9 \u0416");
    i18nstr::tolower(text);
    CHECK(text == L"caf\u00e9 \u0436");
}

}  // namespace
