#include "formats/FormulaParser.h"

#include <doctest/doctest.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <utility>

namespace {

using namespace OrvexClipboard::formulas;

struct Texts {
    std::wstring sym, feed, field;

    bool operator==(const Texts&) const = default;
};

using Position = std::pair<int, int>;
using Requests = std::map<Position, Texts>;

constexpr Cell kCurrent = {10, 2};

Call readCall(std::wstring_view arguments, Cell current, Function function = Function::QkGet) {
    Call call;
    std::size_t pos = 0;
    REQUIRE(parseCall(arguments, current, function, pos, call));
    REQUIRE(call.isComplete);
    return call;
}

// Expands a call, and returns the first request that it makes for each cell. Returns std::nullopt
// if the expansion would exceed `budget`.
std::optional<Requests> expanded(const Call& call, Cell current, const CellTexts& texts,
                                 Budget budget = {}) {
    Requests requests;
    const auto keepFirst = [&requests](const Request& request) {
        requests.insert({{request.cell.row, request.cell.column},
                         {*request.sym, *request.feed, *request.field}});
    };
    if (!expand(call, current, texts, budget, keepFirst)) return std::nullopt;
    return requests;
}

// Returns the requests that a call in zero-based row 10, column 2 makes.
Requests requests(std::wstring_view arguments, const CellTexts& texts,
                  Function function = Function::QkGet) {
    const auto requests = expanded(readCall(arguments, kCurrent, function), kCurrent, texts);
    REQUIRE(requests);
    return *requests;
}

TEST_CASE("decimalValue reads a sign and digits up to the first other character") {
    struct Row {
        std::wstring_view text;
        int value;
    };
    for (const Row& row :
         {Row{L"", 0}, Row{L"7", 7}, Row{L"007", 7}, Row{L"+7", 7}, Row{L"-7", -7}, Row{L"--7", 0},
          Row{L"+-7", 0}, Row{L"- 7", 0}, Row{L" \t\n\v\f\r7", 7}, Row{L"7 8", 7},
          Row{L"12abc", 12}, Row{L"abc", 0}, Row{L"3.9", 3}, Row{L"0x10", 0}, Row{L"\u0663", 0}}) {
        CAPTURE(row.value);
        CHECK(decimalValue(row.text) == row.value);
    }
}

TEST_CASE("decimalValue returns INT_MAX or INT_MIN for a number out of range") {
    CHECK(decimalValue(L"2147483647") == INT_MAX);
    CHECK(decimalValue(L"2147483648") == INT_MAX);
    CHECK(decimalValue(L"99999999999999999999999999") == INT_MAX);
    CHECK(decimalValue(L"-2147483648") == INT_MIN);
    CHECK(decimalValue(L"-2147483649") == INT_MIN);
    CHECK(decimalValue(L"-99999999999999999999999999") == INT_MIN);
}

TEST_CASE("parseRef limits an index to the range of int") {
    Reference ref;
    std::size_t pos = 0;

    parseRef(L"R[2147483647]C[-2147483648]", {10, -10}, ref, pos);

    CHECK(ref.row == INT_MAX);
    CHECK(ref.column == INT_MIN);
}

TEST_CASE("parseReference limits the row count of a range to INT_MAX") {
    Reference ref;
    std::size_t pos = 0;

    REQUIRE(parseReference(L"R[-2147483648]C:R[2147483647]C,", {0, 0}, ref, pos));

    CHECK(ref.row == INT_MIN);
    CHECK(ref.rowCount == INT_MAX);
}

TEST_CASE("Nothing is read at a position past the end of a formula") {
    const std::wstring_view formula = L"=A";
    for (const std::size_t start : {std::size_t{2}, std::size_t{4}, std::wstring_view::npos}) {
        std::size_t pos = start;
        std::wstring text = L"kept";
        Reference ref;
        Call call;

        CHECK_FALSE(parseValue(formula, text, pos));
        CHECK(parseIndex(formula, pos) == 0);
        parseRef(formula, kCurrent, ref, pos);
        CHECK_FALSE(parseReference(formula, kCurrent, ref, pos));
        CHECK_FALSE(parseArg(formula, kCurrent, text, ref, pos));
        CHECK_FALSE(parseCall(formula, kCurrent, Function::QkGet, pos, call));

        CHECK(pos == start);
        CHECK(text == L"kept");
        CHECK(ref.rowCount == 0);
    }
}

TEST_CASE("QkGet expects feed, instrument, field and QData expects instrument, field, feed") {
    const Requests expected = {{{10, 2}, {L"A.X", L"FD", L"LAST"}}};

    CHECK(requests(L"(\"FD\",\"A.X\",\"LAST\")", {}, Function::QkGet) == expected);
    CHECK(requests(L"(\"A.X\",\"LAST\",\"FD\")", {}, Function::QData) == expected);
}

TEST_CASE("A call with one or two arguments is accepted but incomplete") {
    for (const std::wstring_view arguments :
         {L"(\"FD\")", L"(\"FD\",\"A.X\")", L"(\"FD\" ,\"A.X\",\"LAST\")", L"(\"FD\"", L"(R)"}) {
        Call call;
        std::size_t pos = 0;

        CHECK(parseCall(arguments, kCurrent, Function::QkGet, pos, call));
        CHECK_FALSE(call.isComplete);
    }
}

TEST_CASE("A call without a parenthesis or with an unterminated argument is rejected") {
    for (const std::wstring_view arguments :
         {L"", L" (\"FD\",\"A.X\",\"LAST\")", L"\"FD\"", L"(", L"(\"FD", L"(\"FD\",\"A.X",
          L"(\"FD\",\"A.X\",\"LAST", L"(\"FD\",R", L"(\"FD\",\"A.X\",R", L"(\"FD\",\"A.X\",",
          L"(FD"}) {
        Call call;
        std::size_t pos = 0;

        CHECK_FALSE(parseCall(arguments, kCurrent, Function::QkGet, pos, call));
    }
}

TEST_CASE("Text after the third argument is ignored") {
    const Requests expected = {{{10, 2}, {L"A.X", L"FD", L"LAST"}}};

    CHECK(requests(L"(\"FD\",\"A.X\",\"LAST\"", {}) == expected);
    CHECK(requests(L"(\"FD\",\"A.X\",\"LAST\",\"open", {}) == expected);
    CHECK(requests(L"(\"FD\",\"A.X\",\"LAST\")*\"", {}) == expected);
}

TEST_CASE("The prefix of a feed is removed from a literal but not from a cell") {
    const CellTexts texts = {{{9, 2}, L"X:FD"}};

    CHECK(requests(L"(R[-1]C,\"A.X\",\"LAST\")", texts).at({10, 2}).feed == L"X:FD");
    CHECK(requests(L"(\"X:FD\",\"A.X\",\"LAST\")", texts).at({10, 2}).feed == L"FD");
}

TEST_CASE("A call with instrument and field but without feed makes no request") {
    CHECK(requests(L"(\"\",\"A.X\",\"LAST\")", {}).empty());
    CHECK(requests(L"(,\"A.X\",\"LAST\")", {}).empty());
    CHECK(requests(L"(R5C2,\"A.X\",\"LAST\")", {}).empty());
}

TEST_CASE("A call without feed and without instrument or field makes one request") {
    CHECK(requests(L"(,,\"LAST\")", {}) == Requests{{{10, 2}, {L"", L"", L"LAST"}}});
    CHECK(requests(L"(,\"A.X\",)", {}) == Requests{{{10, 2}, {L"A.X", L"", L""}}});
}

TEST_CASE("A literal feed that consists only of a prefix makes no request") {
    CHECK(requests(L"(\"X:\",\"A.X\",\"LAST\")", {}).empty());
}

TEST_CASE("A call whose feed is an empty cell makes a request") {
    const CellTexts texts = {{{9, 2}, L""}};

    CHECK(requests(L"(R[-1]C,\"A.X\",\"LAST\")", texts) ==
          Requests{{{10, 2}, {L"A.X", L"", L"LAST"}}});
}

TEST_CASE("A range of missing field cells makes only one request") {
    CHECK(requests(L"(\"FD\",\"A.X\",R:R[3]C)", {}) == Requests{{{10, 2}, {L"A.X", L"FD", L""}}});
}

TEST_CASE("A range uses only the cells between its corners") {
    CellTexts texts;
    for (int row = 0; row < 9; ++row) {
        for (int column = 0; column < 9; ++column)
            texts[{row, column}] = std::to_wstring(row) + L"-" + std::to_wstring(column);
    }
    const Call call = readCall(L"(\"FD\",\"A.X\",R[-1]C[-2]:R[1]C[1])", {4, 4});
    Requests expected;
    for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 4; ++column) {
            expected[{4 + row, 4 + column}] = {
                L"A.X", L"FD", std::to_wstring(3 + row) + L"-" + std::to_wstring(2 + column)};
        }
    }
    CHECK(expanded(call, {4, 4}, texts) == expected);
}

TEST_CASE("A missing cell uses the text of the previous cell of the range") {
    const CellTexts texts = {{{10, 0}, L"B.Y"}, {{10, 5}, L"LAST"}, {{10, 6}, L"BID"}};

    const Requests found = requests(L"(\"FD\",RC[-2]:R[2]C[-2],RC[3]:RC[4])", texts);

    CHECK(found.at({12, 2}) == Texts{L"B.Y", L"FD", L"LAST"});
    CHECK(found.at({12, 3}) == Texts{L"B.Y", L"FD", L"BID"});
}

TEST_CASE("A missing cell uses the literal, or the last cell found by an earlier iteration") {
    const CellTexts texts = {{{11, 0}, L"B.Y"}, {{10, 5}, L"LAST"}};

    // The feed cells are in one row, and the instrument cells are in one column. If the feed cells
    // were in one column instead of one row, the call would make two requests for cell (11, 2). The
    // first request would be for feed 0 and instrument 1, and the second for feed 1 and instrument
    // 0. The second request would be dropped.
    const Requests found = requests(L"(RC[5]:RC[6],RC[-2]:R[1]C[-2],RC[3])", texts);

    CHECK(found.at({10, 2}).sym.empty());
    CHECK(found.at({11, 2}).sym == L"B.Y");
    CHECK(found.at({10, 3}).sym == L"B.Y");
}

TEST_CASE("A reference without a column repeats the call and reads no cell") {
    const CellTexts texts = {{{10, 2}, L"own"}, {{10, 5}, L"LAST"}};

    CHECK(requests(L"(\"FD\",R:R[1],RC[3])", texts) ==
          Requests{{{10, 2}, {L"", L"FD", L"LAST"}}, {{11, 2}, {L"", L"FD", L"LAST"}}});
}

TEST_CASE("Only the first request for a cell is kept") {
    const CellTexts texts = {
        {{0, 0}, L"F0"}, {{1, 0}, L"F1"}, {{0, 1}, L"S0"}, {{1, 1}, L"S1"}, {{0, 5}, L"LAST"}};

    const Requests found =
        requests(L"(R[-10]C[-2]:R[-9]C[-2],R[-10]C[-1]:R[-9]C[-1],R[-10]C[3])", texts);

    CHECK(found == Requests{{{10, 2}, {L"S0", L"F0", L"LAST"}},
                            {{11, 2}, {L"S1", L"F0", L"LAST"}},
                            {{12, 2}, {L"S1", L"F1", L"LAST"}}});
}

TEST_CASE("Requests for cells outside the range of int are dropped") {
    const CellTexts texts = {{{0, 0}, L"LAST"}, {{5, 8}, L"A.X"}, {{8, 5}, L"B.Y"}};
    Call call;
    call.feed = {5, 4, 5, 4};
    call.sym = {5, 4, 5, 4};
    call.field = {0, 1, 0, 1};

    const auto found = expanded(call, {INT_MAX - 1, INT_MAX - 2}, texts);

    REQUIRE(found);
    CHECK(found->size() == 6);
    CHECK(found->begin()->first == Position{INT_MAX - 1, INT_MAX - 2});
    CHECK(found->rbegin()->first == Position{INT_MAX, INT_MAX});
}

TEST_CASE("Field cells make no request for a position outside the range of int") {
    const CellTexts texts = {{{0, 0}, L"LAST"}, {{0, 5}, L"BID"}, {{5, 0}, L"ASK"}};
    Call call;
    call.field = {0, 6, 0, 6};
    Call inColumns = call;
    inColumns.sym = {-1, 0, 20, 2};

    for (const Call& each : {call, inColumns}) {
        const auto found = expanded(each, {INT_MAX - 2, INT_MAX - 2}, texts);
        REQUIRE(found);
        for (const auto& [position, request] : *found) CHECK(request.field == L"LAST");
    }
}

TEST_CASE("Field cells past the last column make no request, but later field cells do") {
    const CellTexts texts = {{{0, 5}, L"beyond"}, {{1, 0}, L"LAST"}};
    Call call;
    call.field = {0, 2, 0, 6};
    call.sym = {-1, 0, 20, 2};

    const auto found = expanded(call, {0, INT_MAX - 2}, texts);

    REQUIRE(found);
    CHECK(found->size() == 3);
    CHECK(found->at({1, INT_MAX - 2}).field == L"LAST");
    CHECK(found->at({1, INT_MAX - 1}).field == L"LAST");
}

TEST_CASE("Cells at the limits of int are found") {
    const CellTexts texts = {{{INT_MAX, INT_MAX}, L"LAST"}, {{INT_MIN, INT_MIN}, L"BID"}};
    Call call;
    call.field = {INT_MAX - 1, INT_MAX, INT_MAX - 1, INT_MAX};
    Call backwards;
    backwards.field = {INT_MIN, 1, INT_MIN, 1};

    const auto last = expanded(call, {0, 0}, texts);
    const auto first = expanded(backwards, {0, 0}, texts);

    REQUIRE(last);
    CHECK(last->at({1, 1}).field == L"LAST");
    REQUIRE(first);
    CHECK(first->at({0, 0}).field == L"BID");
}

TEST_CASE("The search ends after a cell beside the range in row INT_MAX") {
    const CellTexts texts = {{{INT_MAX, 5}, L"beside"}};
    Call call;
    call.field = {1, INT_MAX, 0, 3};

    CHECK(expanded(call, {0, 0}, texts) == Requests{{{0, 0}, {L"", L"", L""}}});
}

TEST_CASE("The cost of a huge range depends only on the number of its existing cells") {
    const CellTexts texts = {{{9, 2}, L"A.X"}, {{2000000000, 2}, L"B.Y"}};

    CHECK(requests(L"(\"FD\",R[-10]C:R[2000000000]C,\"LAST\")", texts) ==
          Requests{{{10, 2}, {L"", L"FD", L"LAST"}},
                   {{19, 2}, {L"A.X", L"FD", L"LAST"}},
                   {{2000000010, 2}, {L"B.Y", L"FD", L"LAST"}}});
    CHECK(requests(L"(R[3]C:R[1000]C[2000000000],R[3]C:R[1000]C[2000000000],"
                   L"R[3]C:R[1000]C[2000000000])",
                   texts)
              .size() == 1);
}

TEST_CASE("Overlapping ranges make a request per iteration, and the first one per cell is kept") {
    // A call with 100 feed rows and 100 instrument rows makes requests for 199 different cells.
    const CellTexts texts = {{{9, 2}, L"LAST"}, {{12, 2}, L"T2"}};

    const Requests found = requests(L"(RC:R[99]C,RC:R[99]C,R[-1]C)", texts);

    REQUIRE(found.size() == 199);
    CHECK(found.at({11, 2}) == Texts{L"", L"", L"LAST"});
    CHECK(found.at({12, 2}) == Texts{L"T2", L"", L"LAST"});
    CHECK(found.at({208, 2}) == Texts{L"T2", L"T2", L"LAST"});
}

// Returns the part of the budget that an expansion uses.
Budget costOf(const Call& call, const CellTexts& texts) {
    const Budget before;
    Budget left = before;
    REQUIRE(expand(call, kCurrent, texts, left, [](const Request&) {}));
    return {before.steps - left.steps, before.requests - left.requests,
            before.characters - left.characters};
}

TEST_CASE("The budget is charged for visited cells, loop iterations and requests") {
    // The search for cells visits the field cell. It also visits two cells that are in the
    // instrument rows, but not in the instrument column. The feed loop has one iteration, and the
    // instrument loop has five. In each of these five iterations, the field loop has one iteration.
    const CellTexts texts = {{{9, 2}, L"LAST"}, {{11, 0}, L"beside"}, {{12, 9}, L"beside"}};

    const Budget cost = costOf(readCall(L"(\"FD\",RC:R[4]C,R[-1]C)", kCurrent), texts);

    CHECK(cost.steps == 1 + 2 + 1 + 5 + 5);
    CHECK(cost.requests == 5);
    CHECK(cost.characters == 5 * std::wstring_view(L"FDLAST").size());
}

TEST_CASE("The budget is also charged for duplicate requests and for requests out of range") {
    const CellTexts texts = {{{9, 2}, L"LAST"}};
    Call beyond;
    beyond.literals = {L"A.X", L"FD", L""};
    beyond.sym = {0, 3, -1, 0};
    beyond.field = {9, 1, 2, 1};
    Budget budget;

    CHECK(costOf(readCall(L"(RC:R[2]C,RC:R[2]C,R[-1]C)", kCurrent), texts).requests == 9);
    REQUIRE(expand(beyond, {INT_MAX, 0}, texts, budget, [](const Request&) {}));
    CHECK(budget.requests == Budget().requests - 3);
}

TEST_CASE("A call is expanded with the exact budget that it needs and rejected with less") {
    const CellTexts texts = {{{9, 2}, L"LAST"}, {{10, 2}, L"A.X"}, {{12, 2}, L"B.Y"}};
    for (const std::wstring_view arguments :
         {L"(\"FD\",RC:R[4]C,R[-1]C)", L"(RC:R[2]C,RC:R[4]C,\"LAST\")", L"(RC:R[2]C,,)",
          L"(\"FD\",\"A.X\",R[-1]C:R[2]C)", L"(,\"A.X\",)"}) {
        const Call call = readCall(arguments, kCurrent);
        const Budget exact = costOf(call, texts);

        CHECK(expanded(call, kCurrent, texts, exact));
        for (std::uint64_t Budget::*part :
             {&Budget::steps, &Budget::requests, &Budget::characters}) {
            Budget less = exact;
            less.*part -= 1;
            CHECK_FALSE(expanded(call, kCurrent, texts, less));
        }
    }
}

TEST_CASE("A call that exceeds the budget of requests is rejected before its first request") {
    const CellTexts texts = {{{9, 2}, L"LAST"}, {{10, 2}, L"A.X"}};
    for (const std::wstring_view arguments :
         {L"(RC:R[2000000000]C[2000000000],RC:R[2000000000]C[2000000000],R[-1]C)",
          L"(RC:R[2000000000]C[2000000000],RC,\"LAST\")"}) {
        Budget budget;
        int requests = 0;

        CHECK_FALSE(expand(readCall(arguments, kCurrent), kCurrent, texts, budget,
                           [&requests](const Request&) { ++requests; }));

        CHECK(requests == 0);
        CHECK(budget.requests == Budget().requests);
    }
}

// Implements the rules of expand() literally, with six loops, a flag, and a map that keeps the
// first request for each cell.
Requests expandedByLoops(const Call& call, Cell current, const CellTexts& texts) {
    Requests requests;
    Texts record = {call.literals.sym, call.literals.feed, call.literals.field};
    bool emit = !record.feed.empty() || record.field.empty() || record.sym.empty();

    const auto replace = [&texts](std::wstring& text, const Reference& range, int row, int column) {
        if (range.rowCount == 0 || range.columnCount == 0) return false;
        const auto cell = texts.find({range.row + row, range.column + column});
        if (cell == texts.end()) return false;
        text = cell->second;
        return true;
    };
    const auto forEach = [](const Reference& range, auto&& body) {
        for (int row = 0; row < std::max(range.rowCount, 1); ++row) {
            for (int column = 0; column < std::max(range.columnCount, 1); ++column)
                body(row, column);
        }
    };
    forEach(call.feed, [&](int feedRow, int feedColumn) {
        if (replace(record.feed, call.feed, feedRow, feedColumn)) emit = true;
        forEach(call.sym, [&](int symRow, int symColumn) {
            if (replace(record.sym, call.sym, symRow, symColumn)) emit = true;
            forEach(call.field, [&](int fieldRow, int fieldColumn) {
                if (replace(record.field, call.field, fieldRow, fieldColumn)) emit = true;
                if (!emit) return;
                requests.insert({{current.row + feedRow + symRow + fieldRow,
                                  current.column + feedColumn + symColumn + fieldColumn},
                                 record});
                emit = false;
            });
        });
    });
    return requests;
}

class RandomNumbers {
public:
    explicit RandomNumbers(unsigned seed) : m_engine(seed) {}
    int between(int low, int high) {
        return low + static_cast<int>(m_engine() % static_cast<unsigned>(high - low + 1));
    }
    bool oneIn(int n) { return between(1, n) == 1; }

private:
    std::mt19937 m_engine;
};

std::wstring randomText(RandomNumbers& random, const wchar_t* text) {
    return random.oneIn(2) ? text : L"";
}

Reference randomReference(RandomNumbers& random, int span) {
    Reference ref;
    if (random.oneIn(4)) return ref;
    if (!random.oneIn(8)) {
        ref.row = random.between(-1, span);
        ref.rowCount = random.between(1, 4);
    }
    if (!random.oneIn(8)) {
        ref.column = random.between(-1, span);
        ref.columnCount = random.between(1, 4);
    }
    return ref;
}

TEST_CASE("expand makes the same requests as six nested loops") {
    RandomNumbers random(20031);
    for (int round = 0; round < 2'000; ++round) {
        CAPTURE(round);
        const int span = random.between(2, 9);
        CellTexts texts;
        for (int count = random.between(0, 25); count > 0; --count) {
            texts[{random.between(0, span), random.between(0, span)}] =
                random.oneIn(6) ? L"" : std::to_wstring(count);
        }
        Call call;
        call.literals = {randomText(random, L"SYM"), randomText(random, L"FEED"),
                         randomText(random, L"FIELD")};
        call.sym = randomReference(random, span);
        call.feed = randomReference(random, span);
        call.field = randomReference(random, span);
        const Cell current = {random.between(0, 9), random.between(0, 9)};

        const auto found = expanded(call, current, texts);

        REQUIRE(found);
        REQUIRE(*found == expandedByLoops(call, current, texts));
    }
}

TEST_CASE("The parser never reads outside a random formula") {
    constexpr std::wstring_view kAlphabet = L"((\"\",,,RRCC[[]]::--1239 )X";
    const CellTexts texts = {{{9, 2}, L"A"}, {{10, 3}, L"B"}, {{11, 0}, L"C"}, {{11, 2}, L"D"}};
    RandomNumbers random(7);
    for (int round = 0; round < 20'000; ++round) {
        std::wstring formula(static_cast<std::size_t>(random.between(0, 40)), L'(');
        for (std::size_t i = 1; i < formula.size(); ++i) {
            formula[i] = kAlphabet[static_cast<std::size_t>(
                random.between(0, static_cast<int>(kAlphabet.size()) - 1))];
        }
        // A copy without unused capacity, so that memory checkers can detect an access past the
        // end.
        const std::wstring exact(formula);
        Call call;
        std::size_t pos = 0;

        const bool accepted = parseCall(exact, kCurrent, Function::QData, pos, call);

        CHECK(pos <= exact.size());
        if (accepted && call.isComplete) {
            const auto found = expanded(call, kCurrent, texts, {100'000, 1000, 1'000'000});
            if (found) CHECK(found->size() <= 1000);
        }
    }
}

}  // namespace
