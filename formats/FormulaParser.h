#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "formats/FormatXML4Spdsheet.h"

/// The worksheet functions "QkGet" and "QData": reads the three arguments of a call and expands the
/// ranges among them into requests for instrument, feed and field.
///
/// Nothing here calls the system or keeps state. Every index into the sheet is 0-based; a sum of
/// indices that leaves the range of int becomes the nearest int. A position in a text may lie past
/// its end, where no character is found.
///
///     call      = "(" argument "," argument "," argument      the rest of the formula is not read
///     argument  = quoted | empty | reference
///     quoted    = a double quote, anything but a double quote, a double quote
///     empty     = nothing; the next character is a comma
///     reference = corner [":" corner]                         up to the next comma, otherwise ")"
///     corner    = ["R" [offset]] ["C" [offset]]               relative to the formula's own cell
///     offset    = "[" signed decimal "]"
///
/// Blanks are characters like any other, and case matters.
///
/// Functions with a parameter `reading` read this grammar in `Reading::strict`. In
/// `Reading::asSpreadsheets` a part of a corner may be absolute, and blanks around arguments are
/// skipped:
///
///     corner    = ["R" [offset | decimal]] ["C" [offset | decimal]]      a decimal counts from 1
namespace OrvexClipboard::formulas {

using Reading = FormatXML4Spdsheet::Reading;
using Reference = FormatXML4Spdsheet::Reference;
using Record = FormatXML4Spdsheet::Record;

/// A place in the sheet.
struct Cell {
    int row = 0;
    int column = 0;
};

/// The worksheet functions, each with the order of its arguments.
enum class Function {
    QkGet = 0,  ///< feed, instrument, field
    QData = 1,  ///< instrument, field, feed
};

/// The arguments of a call. Each is a quoted text, or a reference to the cells that hold the texts,
/// or neither.
struct Call {
    Record texts;
    Reference sym;
    Reference feed;
    Reference field;
    /// Whether the call has all three arguments. A shorter call is accepted and makes no request.
    bool isComplete = false;
};

/// The texts of the cells of a sheet, by (row, column). A cell with the empty text counts.
using CellTexts = std::map<std::pair<int, int>, std::wstring>;

/// One request and the place in the sheet where its result belongs. The texts are those of the call
/// and the cells that it was made from.
struct Request {
    Cell at;
    const std::wstring* sym = nullptr;
    const std::wstring* feed = nullptr;
    const std::wstring* field = nullptr;
};

/// Limits the cost of formulas from any source: a short one can request a range of any size.
/// The defaults are those of one workbook; a document of 1 MB that uses them up takes about 340 MB.
struct Budget {
    /// The number of cells that are searched in ranges, plus the number of steps of the loops.
    std::uint64_t steps = 16'777'216;
    /// The number of requests, including those that are dropped because of their place.
    std::uint64_t requests = 1'048'576;
    /// Characters of the texts of these requests.
    std::uint64_t characters = 67'108'864;
};

/// Converts the decimal number that `text` begins with, as the C library does: blanks and one sign
/// may precede it, the first other character ends it, and without a digit it is 0. A number outside
/// int becomes the nearest int.
int decimalValue(std::wstring_view text) noexcept;

/// Converts a row or column number that is counted from 1, such as an "ss:Index", to an index that
/// is counted from 0. A number below 1, or no number, is the first row or column.
int placeAt(std::wstring_view number) noexcept;

/// Finds the first call of "QkGet" or "QData" that is not an argument of another call. The name must
/// be whole and "(" must follow it at once; texts in double quotes and sheet names in single quotes
/// are skipped. Parentheses that only group, as in "(QkGet(...)+1)", do not matter.
/// @param[out] pos  Offset of that "(". Untouched if there is no such call.
std::optional<Function> findOutermostCall(std::wstring_view formula, std::size_t& pos) noexcept;

/// Reads the rest of a quoted value; `pos` is just past the opening quote.
/// @return false if the closing quote is missing; then nothing changes.
bool parseValue(std::wstring_view formula, std::wstring& value, std::size_t& pos);

/// Reads a bracketed offset and moves past it. Without "[" at `pos` nothing moves; without "]" only
/// the "[" is passed. Both are 0.
int parseIndex(std::wstring_view formula, std::size_t& pos) noexcept;

/// Reads one corner. Missing parts do not change `ref`.
void parseRef(std::wstring_view formula, Cell current, Reference& ref, std::size_t& pos,
              Reading reading = Reading::strict) noexcept;

/// Reads a corner or a range and moves to the comma or parenthesis that ends the argument. Other
/// characters before it are ignored. Missing parts do not change `ref`.
/// @return false if neither ends the argument; then nothing changes.
bool parseReference(std::wstring_view formula, Cell current, Reference& ref, std::size_t& pos,
                    Reading reading = Reading::strict);

/// Reads an argument of any form: a quoted one into `text`, a reference into `ref`.
/// @return false for a quoted value or a reference without its end.
bool parseArg(std::wstring_view formula, Cell current, std::wstring& text, Reference& ref,
              std::size_t& pos, Reading reading = Reading::strict);

/// Removes everything up to the first ":" of `feed`, if it has one.
void stripFeedPrefix(std::wstring& feed);

/// Reads a call; `pos` is just past the name of the function.
/// @param[out] call  New contents; on failure those read so far.
/// @return false if "(" is missing at `pos` or an argument has no end.
bool parseCall(std::wstring_view formula, Cell current, Function function, std::size_t& pos,
               Call& call, Reading reading = Reading::strict);

/// Expands a call by loops over the cells of its references: feed outermost, then instrument, then
/// field, each by rows and then by columns. A reference that does not resolve loops over the rows
/// or columns that it has, or once, and finds no cell.
///
/// A cell that exists replaces the text of its argument; otherwise the text that was there stays. A
/// request is made for each field cell that exists, and for the first pass of the field loop after
/// a feed or instrument cell was found. One is also made for the very first pass, unless the quoted
/// texts are an instrument and a field without a feed. The place of a request is the formula's own
/// cell plus the offsets of the three loops; a place outside int is left out.
///
/// Cells that do not exist cost nothing where they make no request, however large the range is.
///
/// @param[in,out] budget  Pays for the expansion.
/// @param make            Called for each request in the order of the loops. Several requests may
///                        have the same place.
/// @return false if the budget is not enough. Some requests may have been made then.
bool expand(const Call& call, Cell current, const CellTexts& texts, Budget& budget,
            const std::function<void(const Request&)>& make);

}  // namespace OrvexClipboard::formulas
