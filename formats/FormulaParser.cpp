#include "formats/FormulaParser.h"

#include <algorithm>
#include <compare>
#include <cstdint>
#include <cstdlib>
#include <iterator>

namespace OrvexClipboard::formulas {

namespace {

int nearestInt(std::int64_t value) noexcept {
    return static_cast<int>(std::clamp<std::int64_t>(value, INT_MIN, INT_MAX));
}

bool standsAt(std::wstring_view text, std::size_t pos, wchar_t character) noexcept {
    return pos < text.size() && text[pos] == character;
}

// Makes the single row (or column) `first` reach to `second`, whichever of them comes first.
void extendTo(int second, int& first, int& count) noexcept {
    const std::int64_t distance = std::int64_t{second} - first;
    count = nearestInt(std::abs(distance) + 1);
    first = std::min(first, second);
}

// How far a pair of loops has come, or how far a request lies from its formula's cell.
struct Offset {
    std::int64_t row = 0;
    std::int64_t column = 0;

    // NOLINTNEXTLINE(modernize-use-nullptr): there is no pointer here.
    auto operator<=>(const Offset&) const = default;
    Offset operator-(const Offset& other) const { return {row - other.row, column - other.column}; }
};

// A cell of a range that is there.
struct Hit {
    Offset at;
    const std::wstring* text = nullptr;
};

// The pair of loops over one argument's rows and columns.
struct Loop {
    std::int64_t rows = 1;
    std::int64_t columns = 1;
    const std::wstring& literal;
    std::vector<Hit> hits;  // in the order in which the loop comes to them

    // The text of the argument once the loop has come to `at`. `again`: it has run before, so a
    // cell found then is still in place.
    const std::wstring* textAt(Offset at, bool again) const {
        if (hits.empty()) return &literal;
        // Where every cell is there, it stands at this place in the list.
        const std::int64_t place = at.row * columns + at.column;
        if (std::cmp_less(place, hits.size())) {
            const Hit& hit = hits[static_cast<std::size_t>(place)];
            if (hit.at == at) return hit.text;
        }
        const auto next = std::upper_bound(hits.begin(), hits.end(), at,
                                           [](Offset o, const Hit& hit) { return o < hit.at; });
        if (next != hits.begin()) return std::prev(next)->text;
        return again ? hits.back().text : &literal;
    }
};

// Steps from one existing cell of the range to the next: what lies between them costs nothing.
std::vector<Hit> cellsWithin(const CellRange& range, const CellTexts& texts) {
    std::vector<Hit> hits;
    if (!range.resolves()) return hits;
    constexpr std::int64_t kUsual = 64;  // a small range is never moved while it grows
    hits.reserve(static_cast<std::size_t>(
        std::clamp<std::int64_t>(std::int64_t{range.rowCount} * range.columnCount, 0, kUsual)));
    const int lastRow = nearestInt(std::int64_t{range.row} + range.rowCount - 1);
    const int lastColumn = nearestInt(std::int64_t{range.column} + range.columnCount - 1);

    auto cell = texts.lower_bound({range.row, range.column});
    while (cell != texts.end() && cell->first.first <= lastRow) {
        const auto [row, column] = cell->first;
        if (column < range.column) {
            cell = texts.lower_bound({row, range.column});
        } else if (column > lastColumn) {
            if (row == INT_MAX) break;
            cell = texts.lower_bound({row + 1, range.column});
        } else {
            const Offset at = {std::int64_t{row} - range.row, std::int64_t{column} - range.column};
            hits.push_back({at, &cell->second});
            ++cell;
        }
    }
    return hits;
}

Loop loopOver(const Argument& argument, const CellTexts& texts) {
    return {std::max(argument.cells.rowCount, 1), std::max(argument.cells.columnCount, 1),
            argument.text, cellsWithin(argument.cells, texts)};
}

// A place that a loop around others reaches, and the place within those others that leads there
// first. What this loop adds is the difference.
struct Reached {
    Offset at;
    Offset inner;

    Offset outer() const { return at - inner; }
};

// Ordered by place, each place once.
using Reach = std::vector<Reached>;

bool liesBefore(const Reached& one, const Reached& other) { return one.at < other.at; }

// Where requests may lie, and how many.
struct Bounds {
    Offset last;
    std::size_t room = 0;

    bool hold(Offset at) const { return at.row <= last.row && at.column <= last.column; }
};

// The places reached when a loop over rows and columns runs around `points` (ordered, each once):
// all the sums of a pass of the loop and a point. A place that several sums reach belongs to the
// earliest pass, so to the point that lies nearest before it: in the last row that has a point
// within reach, the last such point. That needs one look at each place, row by row; most places are
// taken over from the row above.
std::optional<Reach> runAround(const std::vector<Offset>& points, const Loop& loop,
                               const Bounds& bounds) {
    Reach reach;
    if (points.empty()) return reach;
    if (loop.rows == 1 && loop.columns == 1) {
        reach.reserve(points.size());
        for (const Offset& point : points)
            if (bounds.hold(point)) reach.push_back({point, point});
        if (reach.size() > bounds.room) return std::nullopt;
        return reach;
    }
    // What is far too large is refused at once: the first point alone reaches all of this block.
    const Offset first = points.front();
    const auto height = std::min(loop.rows, bounds.last.row - first.row + 1);
    const auto width = std::min(loop.columns, bounds.last.column - first.column + 1);
    if (width > 0 && std::cmp_greater(height, bounds.room / static_cast<std::size_t>(width)))
        return std::nullopt;

    std::size_t previousRow = 0;  // where in `reach` the places of the row above begin
    auto point = points.begin();
    std::int64_t row = 0;
    Reach own;  // places of this row that its own points reach
    for (;; ++row) {
        if (previousRow == reach.size()) {  // nothing to take over: on to the next row with points
            if (point == points.end()) return reach;
            row = point->row;
        }
        if (row > bounds.last.row) return reach;

        own.clear();
        for (; point != points.end() && point->row == row; ++point) {
            const auto next = std::next(point);
            std::int64_t end = std::min(point->column + loop.columns, bounds.last.column + 1);
            if (next != points.end() && next->row == row) end = std::min(end, next->column);
            if (std::cmp_greater(end - point->column, bounds.room)) return std::nullopt;
            for (std::int64_t column = point->column; column < end; ++column)
                own.push_back({{row, column}, *point});
            if (own.size() > bounds.room) return std::nullopt;
        }

        const std::size_t thisRow = reach.size();
        auto mine = own.begin();
        for (std::size_t above = previousRow; above < thisRow; ++above) {
            const Reached taken{{row, reach[above].at.column}, reach[above].inner};
            while (mine != own.end() && liesBefore(*mine, taken)) reach.push_back(*mine++);
            if (mine != own.end() && mine->at == taken.at) continue;
            if (taken.outer().row < loop.rows) reach.push_back(taken);
        }
        reach.insert(reach.end(), mine, own.end());
        if (reach.size() > bounds.room) return std::nullopt;
        previousRow = thisRow;
    }
}

// Adds the places that this loop reaches by itself, the others standing at their start.
bool addOwn(Reach& reach, const std::vector<Hit>& hits, const Bounds& bounds) {
    Reach own;
    for (const Hit& hit : hits) {
        if (bounds.hold(hit.at)) own.push_back({hit.at, {}});
    }
    if (std::includes(reach.begin(), reach.end(), own.begin(), own.end(), liesBefore)) return true;
    Reach all;
    std::set_union(reach.begin(), reach.end(), own.begin(), own.end(), std::back_inserter(all),
                   liesBefore);
    reach = std::move(all);
    return reach.size() <= bounds.room;
}

std::vector<Offset> placesOf(const Reach& reach) {
    std::vector<Offset> places;
    places.reserve(reach.size());
    for (const Reached& reached : reach) places.push_back(reached.at);
    return places;
}

}  // namespace

int decimalValue(std::wstring_view text) noexcept {
    constexpr std::wstring_view kBlanks = L" \t\n\v\f\r";
    std::size_t pos = std::min(text.find_first_not_of(kBlanks), text.size());
    const bool negative = standsAt(text, pos, L'-');
    if (negative || standsAt(text, pos, L'+')) ++pos;

    std::int64_t value = 0;
    for (; pos < text.size() && text[pos] >= L'0' && text[pos] <= L'9'; ++pos) {
        value = value * 10 + (text[pos] - L'0');
        if (value > INT_MAX) return negative ? nearestInt(-value) : INT_MAX;
    }
    return nearestInt(negative ? -value : value);
}

bool parseValue(std::wstring_view formula, std::wstring& value, std::size_t& pos) {
    const std::size_t end = formula.find(L'"', pos);
    if (end == std::wstring_view::npos) return false;
    value = formula.substr(pos, end - pos);
    pos = end + 1;
    return true;
}

int parseIndex(std::wstring_view formula, std::size_t& pos) noexcept {
    if (!standsAt(formula, pos, L'[')) return 0;
    ++pos;
    const std::size_t end = formula.find(L']', pos);
    if (end == std::wstring_view::npos) return 0;
    const int value = decimalValue(formula.substr(pos, end - pos));
    pos = end + 1;
    return value;
}

void parseRef(std::wstring_view formula, Cell current, CellRange& range,
              std::size_t& pos) noexcept {
    if (standsAt(formula, pos, L'R')) {
        ++pos;
        range.row = nearestInt(std::int64_t{parseIndex(formula, pos)} + current.row);
        range.rowCount = 1;
    }
    if (standsAt(formula, pos, L'C')) {
        ++pos;
        range.column = nearestInt(std::int64_t{parseIndex(formula, pos)} + current.column);
        range.columnCount = 1;
    }
}

bool parseReference(std::wstring_view formula, Cell current, CellRange& range, std::size_t& pos) {
    std::size_t end = formula.find(L',', pos);
    if (end == std::wstring_view::npos) end = formula.find(L')', pos);
    if (end == std::wstring_view::npos) return false;

    CellRange second;
    const std::size_t colon = formula.find(L':', pos);
    if (colon < end) {
        std::size_t start = 0;
        parseRef(formula.substr(colon + 1, end - colon - 1), current, second, start);
    }
    // The first corner is read from the whole formula: its "]" may lie behind the colon or the end.
    CellRange first;
    parseRef(formula, current, first, pos);

    if (first.rowCount != 0) {
        if (second.rowCount != 0) extendTo(second.row, first.row, first.rowCount);
        range.row = first.row;
        range.rowCount = first.rowCount;
    }
    if (first.columnCount != 0) {
        if (second.columnCount != 0) extendTo(second.column, first.column, first.columnCount);
        range.column = first.column;
        range.columnCount = first.columnCount;
    }
    pos = end;
    return true;
}

bool parseArg(std::wstring_view formula, Cell current, std::wstring& text, CellRange& range,
              std::size_t& pos) {
    if (standsAt(formula, pos, L'"')) return parseValue(formula, text, ++pos);
    if (standsAt(formula, pos, L',')) return true;
    return parseReference(formula, current, range, pos);
}

void stripFeedPrefix(std::wstring& feed) {
    const std::size_t colon = feed.find(L':');
    if (colon != std::wstring::npos) feed.erase(0, colon + 1);
}

bool parseCall(std::wstring_view formula, Cell current, Function function, std::size_t& pos,
               Call& call) {
    call = {};
    Argument* const qkGet[] = {&call.feed, &call.sym, &call.field};
    Argument* const qData[] = {&call.sym, &call.field, &call.feed};

    wchar_t before = L'(';
    for (Argument* const argument : function == Function::QkGet ? qkGet : qData) {
        if (!standsAt(formula, pos, before)) return before == L',';  // a shorter call is accepted
        ++pos;
        if (!parseArg(formula, current, argument->text, argument->cells, pos)) return false;
        if (argument == &call.feed) stripFeedPrefix(call.feed.text);
        before = L',';
    }
    call.complete = true;
    return true;
}

std::optional<std::vector<Placement>> expand(const Call& call, Cell current, const CellTexts& texts,
                                             std::size_t room) {
    const Loop feed = loopOver(call.feed, texts);
    const Loop sym = loopOver(call.sym, texts);
    const Loop field = loopOver(call.field, texts);
    const Bounds bounds = {
        {std::int64_t{INT_MAX} - current.row, std::int64_t{INT_MAX} - current.column}, room};

    // Which passes make a request? Those that find a field cell. A feed or instrument cell that is
    // found adds the first field pass below it, and so does the start. Such an addition has the
    // inner loops at their start, the latest that any pass for the same place can have the outer
    // one: it counts only where nothing else reaches.
    std::vector<Offset> fieldCells;
    fieldCells.reserve(field.hits.size());
    for (const Hit& hit : field.hits) fieldCells.push_back(hit.at);
    auto bySym = runAround(fieldCells, sym, bounds);
    if (!bySym || !addOwn(*bySym, sym.hits, bounds)) return std::nullopt;
    auto byFeed = runAround(placesOf(*bySym), feed, bounds);
    if (!byFeed || !addOwn(*byFeed, feed.hits, bounds)) return std::nullopt;

    // kept: three literals with an empty feed ask for nothing.
    const bool asksAtStart =
        !call.feed.text.empty() || call.field.text.empty() || call.sym.text.empty();
    const std::vector<Hit> start(asksAtStart ? 1 : 0);
    if (!addOwn(*byFeed, start, bounds)) return std::nullopt;

    std::vector<Placement> placements;
    placements.reserve(byFeed->size());
    auto inner = bySym->begin();  // a pass of the feed loop takes them one after the other
    for (const Reached& reached : *byFeed) {
        const Offset feedAt = reached.outer();
        if (inner == bySym->end() || inner->at != reached.inner)
            inner = std::lower_bound(bySym->begin(), bySym->end(), Reached{reached.inner, {}},
                                     liesBefore);
        // An addition of the feed loop stands for the start of the others.
        const bool added = inner == bySym->end() || inner->at != reached.inner;
        const Offset symAt = added ? Offset{} : inner->outer();
        const Offset fieldAt = added ? Offset{} : inner->inner;

        const bool symAgain = feedAt != Offset{};
        const bool fieldAgain = symAgain || symAt != Offset{};
        const Cell place = {static_cast<int>(current.row + reached.at.row),
                            static_cast<int>(current.column + reached.at.column)};
        placements.push_back({place, sym.textAt(symAt, symAgain), feed.textAt(feedAt, false),
                              field.textAt(fieldAt, fieldAgain)});
        if (!added) ++inner;
    }
    return placements;
}

}  // namespace OrvexClipboard::formulas
