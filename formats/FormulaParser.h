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

/// Parses calls to the worksheet functions "QkGet" and "QData" and expands the ranges among their
/// arguments into requests. Each request consists of an instrument, a feed and a field.
///
/// The functions call no system functions and keep no state. Row and column indices are zero-based.
/// A sum of indices that does not fit into an int becomes the nearest int. A position may be past
/// the end of the formula. No character is found there.
///
///     call      = "(" argument "," argument "," argument  the remainder of the formula is not read
///     argument  = quoted | empty | reference
///     quoted    = a double quote, characters other than a double quote, a double quote
///     empty     = nothing; the next character is a comma
///     reference = corner [":" corner]                     ends at the next comma, otherwise at ")"
///     corner    = ["R" [offset]] ["C" [offset]]           relative to the formula's own cell
///     offset    = "[" signed decimal "]"                  the number is read by decimalValue()
///
/// Blanks are not skipped, except at the start of an offset. Letters are case-sensitive.
///
/// Functions with a `reading` parameter use this grammar in `Reading::strict`. In
/// `Reading::asSpreadsheets`, a part of a corner may be absolute, and blanks around arguments are
/// skipped:
///
///     corner    = ["R" [offset | decimal]] ["C" [offset | decimal]]      a decimal is one-based
namespace OrvexClipboard::formulas {

using Reading = FormatXML4Spdsheet::Reading;
using Reference = FormatXML4Spdsheet::Reference;
using Record = FormatXML4Spdsheet::Record;

/// The indices of a cell in the sheet.
struct Cell {
    int row = 0;
    int column = 0;
};

/// The worksheet functions, each with the order of its arguments.
enum class Function {
    QkGet = 0,  ///< feed, instrument, field
    QData = 1,  ///< instrument, field, feed
};

/// The arguments of a call. Each argument is a quoted string, a reference to cells that contain
/// text, or empty.
struct Call {
    Record texts;
    Reference sym;
    Reference feed;
    Reference field;
    /// True if the call has all three arguments. A call with fewer arguments is accepted but makes
    /// no request.
    bool isComplete = false;
};

/// The text of each cell of a sheet. Each key is a row index and a column index. A cell that is in
/// the map exists, even if its text is empty.
using CellTexts = std::map<std::pair<int, int>, std::wstring>;

/// One request and the cell that its result belongs to. The pointers refer to strings that the call
/// or the cells own.
struct Request {
    Cell at;
    const std::wstring* sym = nullptr;
    const std::wstring* feed = nullptr;
    const std::wstring* field = nullptr;
};

/// Limits the cost of formulas. Formulas may be untrusted, and a short formula can refer to a range
/// of any size. The default values apply to one workbook. A document of 1 MB that reaches the
/// limits needs about 340 MB of memory.
struct Budget {
    /// Remaining number of steps. Each cell that is visited to find the cells of a range counts as
    /// a step, and so does each pass of a loop.
    std::uint64_t steps = 16'777'216;
    /// Remaining number of requests. A request counts even if it is dropped because its cell
    /// already has a request or because an index of the cell does not fit into an int.
    std::uint64_t requests = 1'048'576;
    /// Remaining total number of characters in the strings of these requests.
    std::uint64_t characters = 67'108'864;
};

/// Converts the decimal number at the start of `text` in the same way as the C library. Blanks and
/// one sign may precede the digits, and the first other character ends the number. Without digits,
/// the result is 0. A number that does not fit into an int becomes the nearest int.
int decimalValue(std::wstring_view text) noexcept;

/// Converts a one-based row or column number, such as an "ss:Index", to a zero-based index. If
/// `number` is less than 1 or is not a number, the index is 0.
int zeroBasedIndex(std::wstring_view number) noexcept;

/// Finds the first call to "QkGet" or "QData" that is not an argument of another call. The name
/// must not be part of a longer name, and "(" must follow it directly. Strings in double quotes and
/// sheet names in single quotes are skipped. Parentheses that only group an expression, as in
/// "(QkGet(...)+1)", are ignored.
/// @param[out] pos  Offset of the "(" of the call. Unchanged if there is no such call.
std::optional<Function> findOutermostCall(std::wstring_view formula, std::size_t& pos) noexcept;

/// Reads a quoted value up to its closing quote. `pos` must be just after the opening quote.
/// @return false if the closing quote is missing. `value` and `pos` are then unchanged.
bool parseValue(std::wstring_view formula, std::wstring& value, std::size_t& pos);

/// Reads an offset in brackets and moves `pos` past the "]". If there is no "[" at `pos`, the
/// result is 0 and `pos` does not change. If no "]" follows the "[", the result is 0 and `pos`
/// moves only past the "[".
int parseIndex(std::wstring_view formula, std::size_t& pos) noexcept;

/// Reads one corner of a reference. If the row or column part is missing, that part of `ref` does
/// not change.
void parseRef(std::wstring_view formula, Cell current, Reference& ref, std::size_t& pos,
              Reading reading = Reading::strict) noexcept;

/// Reads a reference: one corner, or two corners with ":" between them. Moves `pos` to the next
/// comma or, if no comma follows, to the next closing parenthesis, and ignores all other characters
/// before that position. If the first corner has no row or column part, that part of `ref` does not
/// change.
/// @return false if neither a comma nor a closing parenthesis follows. `ref` and `pos` are then
///         unchanged.
bool parseReference(std::wstring_view formula, Cell current, Reference& ref, std::size_t& pos,
                    Reading reading = Reading::strict);

/// Reads one argument. A quoted argument is stored in `text` and a reference in `ref`. An empty
/// argument changes neither.
/// @return false if the end of a quoted argument or of a reference is missing.
bool parseArg(std::wstring_view formula, Cell current, std::wstring& text, Reference& ref,
              std::size_t& pos, Reading reading = Reading::strict);

/// Removes the first ":" of `feed` and everything before it. Without a ":", `feed` does not change.
void stripFeedPrefix(std::wstring& feed);

/// Reads the arguments of a call. `pos` is the offset just after the name of the function.
/// @param[out] call  The arguments. On failure, the arguments that were read before the failure.
/// @return false if there is no "(" at `pos` or the end of an argument is missing.
bool parseCall(std::wstring_view formula, Cell current, Function function, std::size_t& pos,
               Call& call, Reading reading = Reading::strict);

/// Expands a call with three nested loops over the cells of its references. The outer loop iterates
/// over the feed cells, the middle loop over the instrument cells, and the inner loop over the
/// field cells, each of them row by row. A reference without a row part or column part refers to no
/// cells. Its loop still runs, with one row or column for the missing part, but finds no cell.
///
/// If a cell exists, its text replaces the current text of its argument. If the cell does not
/// exist, the argument keeps its current text. A request is made:
/// - for each field cell that exists;
/// - in the first pass of the field loop after a feed cell or an instrument cell was found;
/// - in the very first pass, except if the call contains a string for the instrument and for the
///   field but no string for the feed.
///
/// The result of a request belongs to the cell at the sum of the formula's own position and the
/// offsets of the three loops. If an index of that cell does not fit into an int, the request is
/// dropped.
///
/// Cells that do not exist do not reduce the budget if no request is made for them, even in a large
/// range.
///
/// @param[in,out] budget  The cost of the expansion is subtracted from it.
/// @param make            Called for each request in the order of the loops. Several requests may
///                        belong to the same cell.
/// @return false if the budget is not sufficient. In this case, `make` may already have been called
///         for some requests.
bool expand(const Call& call, Cell current, const CellTexts& texts, Budget& budget,
            const std::function<void(const Request&)>& make);

}  // namespace OrvexClipboard::formulas
