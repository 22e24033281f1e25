#pragma once

#include <climits>
#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// The worksheet functions "QkGet" and "QData": reads the three arguments of a call and expands the
/// ranges among them into requests for instrument, feed and field.
///
/// Text and cells in, values out: nothing here calls the system. Every index into the sheet is
/// 0-based; a sum of indices that leaves the range of int stays at its end. A position in a text
/// may lie behind its end: nothing stands there.
///
///     call      = "(" argument "," argument "," argument      what follows is not looked at
///     argument  = quoted | empty | reference
///     quoted    = a double quote, anything but a double quote, a double quote
///     empty     = nothing, with a comma behind it
///     reference = corner [":" corner]                         up to the next comma, else to ")"
///     corner    = ["R" [offset]] ["C" [offset]]               relative to the formula's own cell
///     offset    = "[" signed decimal "]"
///
/// Blanks are characters like any other, and case matters.
namespace OrvexClipboard::formulas {

/// A place in the sheet.
struct Cell {
    int row = 0;
    int column = 0;
};

/// The cells that a reference names. A row or column that is not given is -1, counted 0 times.
struct CellRange {
    int row = -1;
    int rowCount = 0;
    int column = -1;
    int columnCount = 0;

    /// Whether it names cells at all: it takes both rows and columns.
    bool resolves() const noexcept { return rowCount != 0 && columnCount != 0; }
};

/// One argument: a literal text, or the cells that hold the texts, or (left empty) neither.
struct Argument {
    std::wstring text;
    CellRange cells;
};

/// A worksheet function, by the order of its arguments.
enum class Function {
    QkGet = 0,  ///< feed, instrument, field
    QData = 1,  ///< instrument, field, feed
};

struct Call {
    Argument sym;
    Argument feed;
    Argument field;
    /// Whether all three arguments were there. A shorter call is accepted and asks for nothing.
    bool complete = false;
};

/// What the cells of a sheet hold, by (row, column). A cell that holds the empty text is there.
using CellTexts = std::map<std::pair<int, int>, std::wstring>;

/// One request at the place in the sheet where its answer belongs. The texts are those of the call
/// and the cells that it was made from.
struct Placement {
    Cell at;
    const std::wstring* sym = nullptr;
    const std::wstring* feed = nullptr;
    const std::wstring* field = nullptr;
};

/// The value of the decimal number that `text` begins with, as the C library converts it: blanks
/// and one sign may stand before it, the first other character ends it, no digit makes 0. A number
/// beyond int becomes the nearest int.
int decimalValue(std::wstring_view text) noexcept;

/// Reads the rest of a quoted value; `pos` stands just behind the opening quote.
/// @return false when the closing quote is missing; then nothing changes.
bool parseValue(std::wstring_view formula, std::wstring& value, std::size_t& pos);

/// Reads a bracketed offset and moves behind it. Without "[" at `pos` nothing moves; without "]"
/// only the "[" is passed. Both make 0.
int parseIndex(std::wstring_view formula, std::size_t& pos) noexcept;

/// Reads one corner. The parts that are not there leave `range` as it is.
void parseRef(std::wstring_view formula, Cell current, CellRange& range, std::size_t& pos) noexcept;

/// Reads a corner or a range and moves to the comma or parenthesis that ends the argument. What
/// else stands before it is ignored. The parts that are not there leave `range` as it is.
/// @return false when neither ends the argument; then nothing changes.
bool parseReference(std::wstring_view formula, Cell current, CellRange& range, std::size_t& pos);

/// Reads an argument of any form: a quoted one into `text`, a reference into `range`.
/// @return false for a quoted value or a reference without its end.
bool parseArg(std::wstring_view formula, Cell current, std::wstring& text, CellRange& range,
              std::size_t& pos);

/// Keeps what stands behind the first ":" of `feed`, if it has one.
void stripFeedPrefix(std::wstring& feed);

/// Reads a call; `pos` stands just behind the name of the function.
/// @param[out] call  New contents; on failure what was read so far.
/// @return false when "(" is missing at `pos` or an argument has no end.
bool parseCall(std::wstring_view formula, Cell current, Function function, std::size_t& pos,
               Call& call);

/// Expands a call as if by loops over the rows and columns of its references, feed outermost, then
/// instrument, then field. A reference that does not resolve still loops over the rows or columns
/// that it has, or once, without looking at a cell.
///
/// A cell of a loop replaces the text of its argument; a miss leaves the text that was there. A
/// field cell that is found asks for one request. So does the first pass of the field loop after a
/// feed or instrument cell was found, and the very first pass unless the texts of the call are an
/// instrument and a field without a feed. The place of a request is the formula's own cell plus how
/// far each of the loops has come. The first request for a place stands; places that int cannot
/// name are left out.
///
/// The work grows with the cells found and the requests made, however large the ranges are.
///
/// @return The requests in order of their places, rows first; nothing when there are more than
///         `room`. They refer to `call` and `texts`.
std::optional<std::vector<Placement>> expand(const Call& call, Cell current, const CellTexts& texts,
                                             std::size_t room);

}  // namespace OrvexClipboard::formulas
