#include "formats/FormulaParser.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <utility>
#include <vector>

namespace OrvexClipboard::formulas {

namespace {

int clampToInt(std::int64_t value) noexcept {
    return static_cast<int>(std::clamp<std::int64_t>(value, INT_MIN, INT_MAX));
}

bool isAt(std::wstring_view text, std::size_t pos, wchar_t character) noexcept {
    return pos < text.size() && text[pos] == character;
}

constexpr std::wstring_view kBlanks = L" \t\n\v\f\r";
constexpr std::wstring_view kDigits = L"0123456789";

std::size_t skip(std::wstring_view characters, std::wstring_view text, std::size_t pos) noexcept {
    return std::min(text.find_first_not_of(characters, pos), text.size());
}

// Returns true if the character can be part of a name in a formula.
bool isInName(wchar_t c) noexcept {
    return (c >= L'0' && c <= L'9') || (c >= L'A' && c <= L'Z') || (c >= L'a' && c <= L'z') ||
           c == L'_' || c == L'.' || c == L'\\' || c == L'?' || c >= 0x80;
}

std::optional<Function> functionNamed(std::wstring_view name) noexcept {
    if (name == L"QkGet") return Function::QkGet;
    if (name == L"QData") return Function::QData;
    return std::nullopt;
}

// Reads the row part or the column part of a corner. The part begins with `letter`. The function
// stores the index of the row or column in `index`, and sets `count` to 1. If the part is missing,
// the arguments do not change.
void parsePart(std::wstring_view formula, wchar_t letter, int current, Reading reading, int& index,
               int& count, std::size_t& pos) noexcept {
    if (!isAt(formula, pos, letter)) return;
    ++pos;
    const std::size_t end = skip(kDigits, formula, pos);
    if (reading == Reading::asSpreadsheets && end > pos) {
        index = zeroBasedIndex(formula.substr(pos, end - pos));
        pos = end;
    } else {
        index = clampToInt(std::int64_t{parseIndex(formula, pos)} + current);
    }
    count = 1;
}

// Returns the offset of the first comma at or after `pos`. If there is no comma, the function
// returns the offset of the first ")", or npos if there is no ")" either.
std::size_t endOfReference(std::wstring_view formula, std::size_t pos) noexcept {
    const std::size_t comma = formula.find(L',', pos);
    return comma == std::wstring_view::npos ? formula.find(L')', pos) : comma;
}

// Returns the offset of the first "," or ")" at or after `pos` that is neither in quotes nor in
// parentheses or braces. Returns npos if there is no such character. A single quote without a
// closing quote is treated as an ordinary character.
std::size_t endOfExpression(std::wstring_view formula, std::size_t pos) noexcept {
    std::size_t depth = 0;
    for (; pos < formula.size(); ++pos) {
        const wchar_t character = formula[pos];
        if (character == L'"' || character == L'\'') {
            const std::size_t closing = formula.find(character, pos + 1);
            if (closing != std::wstring_view::npos) {
                pos = closing;
            } else if (character == L'"') {
                break;
            }
        } else if (character == L'(' || character == L'{') {
            ++depth;
        } else if (depth == 0 && (character == L',' || character == L')')) {
            return pos;
        } else if (depth > 0 && (character == L')' || character == L'}')) {
            --depth;
        }
    }
    return std::wstring_view::npos;
}

// The corners of a reference. Both corners are empty if the argument is not a reference. The second
// corner is empty if the reference has only one corner.
struct Corners {
    Reference first;
    Reference second;
};

Corners strictCorners(std::wstring_view formula, Cell current, std::size_t pos, std::size_t end) {
    Corners corners;
    const std::size_t colon = formula.find(L':', pos);
    if (colon < end) {
        std::size_t start = 0;
        parseRef(formula.substr(colon + 1, end - colon - 1), current, corners.second, start);
    }
    // Read the first corner from the whole formula, because its "]" may be after the colon or after
    // `end`.
    parseRef(formula, current, corners.first, pos);
    return corners;
}

Corners spreadsheetCorners(std::wstring_view argument, Cell current) {
    Corners corners;
    std::size_t pos = 0;
    const auto read = [&](Reference& corner) {
        parseRef(argument, current, corner, pos, Reading::asSpreadsheets);
        pos = skip(kBlanks, argument, pos);
    };
    read(corners.first);
    if (isAt(argument, pos, L':')) {
        pos = skip(kBlanks, argument, pos + 1);
        read(corners.second);
    }
    const bool isReference = pos == argument.size();
    return isReference ? corners : Corners{};
}

// Extends the single row or column `first` to a range that includes `second`. `second` may be less
// than `first`.
void extendTo(int second, int& first, int& count) noexcept {
    const std::int64_t distance = std::int64_t{second} - first;
    count = clampToInt(std::abs(distance) + 1);
    first = std::min(first, second);
}

bool hasRowsAndColumns(const Reference& reference) noexcept {
    return reference.rowCount != 0 && reference.columnCount != 0;
}

bool consumeStep(Budget& budget) noexcept {
    if (budget.steps == 0) return false;
    --budget.steps;
    return true;
}

bool consumeRequest(const Request& request, Budget& budget) noexcept {
    const std::uint64_t characters =
        request.sym->size() + request.feed->size() + request.field->size();
    if (budget.requests == 0 || budget.characters < characters) return false;
    --budget.requests;
    budget.characters -= characters;
    return true;
}

// The distance of a cell from the first cell of its range, in rows and columns.
struct Offset {
    std::int64_t row = 0;
    std::int64_t column = 0;

    bool operator==(const Offset&) const = default;
};

// The loop over the cells of one argument.
struct Loop {
    struct ExistingCell {
        Offset offset;
        const std::wstring* text;
    };

    explicit Loop(const Reference& range)
        : rows(std::max(range.rowCount, 1)), columns(std::max(range.columnCount, 1)) {}

    double cells() const { return static_cast<double>(rows) * static_cast<double>(columns); }

    std::int64_t rows;
    std::int64_t columns;
    std::vector<ExistingCell> existingCells;  // row by row
};

// Collects the cells of `range` that exist. In each row, cells to the left and to the right of the
// range are skipped by a search in the map. Returns false if the budget is used up.
bool findExistingCells(const Reference& range, const CellTexts& texts, Budget& budget, Loop& loop) {
    if (!hasRowsAndColumns(range)) return true;
    const int lastRow = clampToInt(std::int64_t{range.row} + range.rowCount - 1);
    const int lastColumn = clampToInt(std::int64_t{range.column} + range.columnCount - 1);

    auto cell = texts.lower_bound({range.row, range.column});
    while (cell != texts.end() && cell->first.first <= lastRow) {
        if (!consumeStep(budget)) return false;
        const auto [row, column] = cell->first;
        if (column < range.column) {
            cell = texts.lower_bound({row, range.column});
        } else if (column > lastColumn) {
            if (row == INT_MAX) break;
            cell = texts.lower_bound({row + 1, range.column});
        } else {
            const Offset offset = {std::int64_t{row} - range.row,
                                   std::int64_t{column} - range.column};
            loop.existingCells.push_back({offset, &cell->second});
            ++cell;
        }
    }
    return true;
}

enum class CellsToVisit { all, firstAndExisting };

// Calls `body` with the offset and the text of each cell that `cells` selects. The text is null if
// the cell does not exist. Returns false if `body` returns false or if the budget is used up.
template <class Body>
bool forEachCell(const Loop& loop, CellsToVisit cells, Budget& budget, const Body& body) {
    auto next = loop.existingCells.begin();
    for (Offset offset; offset.row < loop.rows;) {
        if (!consumeStep(budget)) return false;
        const bool exists = next != loop.existingCells.end() && next->offset == offset;
        if (!body(offset, exists ? (next++)->text : nullptr)) return false;
        if (cells == CellsToVisit::firstAndExisting) {
            if (next == loop.existingCells.end()) break;
            offset = next->offset;
        } else if (++offset.column == loop.columns) {
            offset = {offset.row + 1, 0};
        }
    }
    return true;
}

// Returns a lower bound for the number of requests that the loops make. If this bound exceeds the
// budget, expand() fails before the first request.
double minRequestCount(const Loop& feed, const Loop& sym, const Loop& field) {
    const auto count = [](const Loop& loop) {
        return static_cast<double>(loop.existingCells.size());
    };
    if (!field.existingCells.empty()) return feed.cells() * sym.cells() * count(field);
    if (!sym.existingCells.empty()) return feed.cells() * count(sym);
    return count(feed);
}

}  // namespace

int decimalValue(std::wstring_view text) noexcept {
    std::size_t pos = skip(kBlanks, text, 0);
    const bool negative = isAt(text, pos, L'-');
    if (negative || isAt(text, pos, L'+')) ++pos;

    std::int64_t value = 0;
    for (; pos < text.size() && text[pos] >= L'0' && text[pos] <= L'9'; ++pos) {
        value = value * 10 + (text[pos] - L'0');
        if (value > INT_MAX) return negative ? clampToInt(-value) : INT_MAX;
    }
    return clampToInt(negative ? -value : value);
}

int zeroBasedIndex(std::wstring_view number) noexcept {
    return std::max(decimalValue(number), 1) - 1;
}

std::optional<Function> findOutermostCall(std::wstring_view formula, std::size_t& pos) noexcept {
    std::size_t depth = 0;   // number of open parentheses in a call; 0 outside all calls
    std::wstring_view name;  // the name directly before `at`; empty if there is no name
    for (std::size_t at = 0; at < formula.size();) {
        const wchar_t character = formula[at];
        std::size_t end = at + 1;
        if (isInName(character)) {
            while (end < formula.size() && isInName(formula[end])) ++end;
            name = formula.substr(at, end - at);
            at = end;
            continue;
        }
        if (character == L'"' || character == L'\'') {
            // A doubled quote within a string is read as the end of one string and the start of the
            // next.
            end = formula.find(character, end);
            if (end == std::wstring_view::npos) return std::nullopt;
            ++end;
        } else if (character == L'(') {
            const auto function = functionNamed(name);
            if (function && depth == 0) {
                pos = at;
                return function;
            }
            if (depth > 0 || !name.empty()) ++depth;
        } else if (character == L')' && depth > 0) {
            --depth;
        }
        name = {};
        at = end;
    }
    return std::nullopt;
}

bool parseValue(std::wstring_view formula, std::wstring& value, std::size_t& pos) {
    const std::size_t end = formula.find(L'"', pos);
    if (end == std::wstring_view::npos) return false;
    value = formula.substr(pos, end - pos);
    pos = end + 1;
    return true;
}

int parseIndex(std::wstring_view formula, std::size_t& pos) noexcept {
    if (!isAt(formula, pos, L'[')) return 0;
    ++pos;
    const std::size_t end = formula.find(L']', pos);
    if (end == std::wstring_view::npos) return 0;
    const int value = decimalValue(formula.substr(pos, end - pos));
    pos = end + 1;
    return value;
}

void parseRef(std::wstring_view formula, Cell current, Reference& ref, std::size_t& pos,
              Reading reading) noexcept {
    parsePart(formula, L'R', current.row, reading, ref.row, ref.rowCount, pos);
    parsePart(formula, L'C', current.column, reading, ref.column, ref.columnCount, pos);
}

bool parseReference(std::wstring_view formula, Cell current, Reference& ref, std::size_t& pos,
                    Reading reading) {
    const bool isStrict = reading == Reading::strict;
    const std::size_t end = isStrict ? endOfReference(formula, pos) : endOfExpression(formula, pos);
    if (end == std::wstring_view::npos) return false;

    auto [first, second] = isStrict ? strictCorners(formula, current, pos, end)
                                    : spreadsheetCorners(formula.substr(pos, end - pos), current);
    if (first.rowCount != 0) {
        if (second.rowCount != 0) extendTo(second.row, first.row, first.rowCount);
        ref.row = first.row;
        ref.rowCount = first.rowCount;
    }
    if (first.columnCount != 0) {
        if (second.columnCount != 0) extendTo(second.column, first.column, first.columnCount);
        ref.column = first.column;
        ref.columnCount = first.columnCount;
    }
    pos = end;
    return true;
}

bool parseArg(std::wstring_view formula, Cell current, std::wstring& text, Reference& ref,
              std::size_t& pos, Reading reading) {
    if (isAt(formula, pos, L'"')) return parseValue(formula, text, ++pos);
    if (isAt(formula, pos, L',')) return true;
    return parseReference(formula, current, ref, pos, reading);
}

void stripFeedPrefix(std::wstring& feed) {
    const std::size_t colon = feed.find(L':');
    if (colon != std::wstring::npos) feed.erase(0, colon + 1);
}

bool parseCall(std::wstring_view formula, Cell current, Function function, std::size_t& pos,
               Call& call, Reading reading) {
    call = {};
    struct Argument {
        std::wstring& text;
        Reference& ref;
    };
    const Argument sym = {call.literals.sym, call.sym};
    const Argument feed = {call.literals.feed, call.feed};
    const Argument field = {call.literals.field, call.field};
    const Argument* const qkGet[] = {&feed, &sym, &field};
    const Argument* const qData[] = {&sym, &field, &feed};

    const auto skipBlanks = [&] {
        if (reading == Reading::asSpreadsheets) pos = skip(kBlanks, formula, pos);
    };
    wchar_t before = L'(';
    for (const Argument* const argument : function == Function::QkGet ? qkGet : qData) {
        if (!isAt(formula, pos, before)) return before == L',';  // fewer than three arguments
        ++pos;
        skipBlanks();
        if (!parseArg(formula, current, argument->text, argument->ref, pos, reading)) return false;
        skipBlanks();
        if (argument == &feed) stripFeedPrefix(call.literals.feed);
        before = L',';
    }
    call.isComplete = true;
    return true;
}

bool expand(const Call& call, Cell current, const CellTexts& texts, Budget& budget,
            const std::function<void(const Request&)>& make) {
    Loop feed(call.feed), sym(call.sym), field(call.field);
    if (!findExistingCells(call.feed, texts, budget, feed) ||
        !findExistingCells(call.sym, texts, budget, sym) ||
        !findExistingCells(call.field, texts, budget, field) ||
        minRequestCount(feed, sym, field) > static_cast<double>(budget.requests))
        return false;

    // If an inner loop makes a request each time it runs, the enclosing loop must visit every cell.
    // Otherwise, the enclosing loop needs to visit only the first cell and the cells that exist.
    const auto cellsToVisit = [](bool innerLoopMakesRequests) {
        return innerLoopMakesRequests ? CellsToVisit::all : CellsToVisit::firstAndExisting;
    };
    const CellsToVisit symCells = cellsToVisit(!field.existingCells.empty());
    const CellsToVisit feedCells =
        cellsToVisit(!field.existingCells.empty() || !sym.existingCells.empty());

    Request request = {current, &call.literals.sym, &call.literals.feed, &call.literals.field};
    // Compatibility: if no argument refers to an existing cell and the feed is the only empty
    // string, no request is made. Receivers rely on this behavior.
    bool isPending =
        !call.literals.feed.empty() || call.literals.field.empty() || call.literals.sym.empty();
    const auto replace = [&isPending](const std::wstring*& text, const std::wstring* found) {
        if (!found) return;
        text = found;
        isPending = true;
    };

    return forEachCell(
        feed, feedCells, budget, [&](Offset feedOffset, const std::wstring* feedFound) {
            replace(request.feed, feedFound);
            return forEachCell(
                sym, symCells, budget, [&](Offset symOffset, const std::wstring* symFound) {
                    replace(request.sym, symFound);
                    const auto visitField = [&](Offset fieldOffset,
                                                const std::wstring* fieldFound) {
                        replace(request.field, fieldFound);
                        if (!std::exchange(isPending, false)) return true;
                        if (!consumeRequest(request, budget)) return false;
                        const std::int64_t row =
                            current.row + feedOffset.row + symOffset.row + fieldOffset.row;
                        const std::int64_t column = current.column + feedOffset.column +
                                                    symOffset.column + fieldOffset.column;
                        if (row > INT_MAX || column > INT_MAX) return true;
                        request.cell = {static_cast<int>(row), static_cast<int>(column)};
                        make(request);
                        return true;
                    };
                    return forEachCell(field, CellsToVisit::firstAndExisting, budget, visitField);
                });
        });
}

}  // namespace OrvexClipboard::formulas
