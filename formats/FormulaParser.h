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

/// Parses calls to the worksheet functions "QkGet" and "QData" and expands the ranges in their
/// arguments into requests. Each request consists of an instrument, a feed and a field.
///
/// The functions in this namespace call no system functions and keep no state. Row and column
/// indices are zero-based. The indices in a reference are clamped to the range of int. Parameters
/// named `pos` are offsets into the formula, and may be past its end.
///
///     call      = "(" argument "," argument "," argument  the remainder of the formula is not read
///     argument  = quoted | empty | reference
///     quoted    = a double quote, characters other than a double quote, a double quote
///     empty     = nothing; the next character is a comma
///     reference = corner [":" corner]                     ends at the next comma, otherwise at ")"
///     corner    = ["R" [offset]] ["C" [offset]]           relative to the formula's own cell
///     offset    = "[" signed decimal "]"                  the number is read by decimalValue()
///
/// White space is not skipped, except at the start of an offset. Letters are case-sensitive.
///
/// Functions with a `reading` parameter use this grammar if `reading` is `Reading::strict`. If
/// `reading` is `Reading::asSpreadsheets`, each part of a corner may also be absolute:
///
///     corner    = ["R" [offset | decimal]] ["C" [offset | decimal]]    decimal: a one-based index
///
/// The following rules also apply to `Reading::asSpreadsheets`. White space around arguments and
/// corners is skipped. A reference ends at the next comma or ")" that is neither in quotes nor in
/// parentheses or braces. An argument that is neither quoted, nor empty, nor a reference is read as
/// a reference to no cells.
namespace OrvexClipboard::formulas {

using Reading = FormatXML4Spdsheet::Reading;
using Reference = FormatXML4Spdsheet::Reference;
using Record = FormatXML4Spdsheet::Record;

/// The row and column indices of a cell.
struct Cell {
    int row = 0;
    int column = 0;
};

/// The worksheet functions, each with the order of its arguments.
enum class Function {
    QkGet = 0,  ///< feed, instrument, field
    QData = 1,  ///< instrument, field, feed
};

/// The arguments of a call. Each argument is a quoted string, a reference to cells, or empty.
struct Call {
    Record literals;
    Reference sym;
    Reference feed;
    Reference field;
    /// True if the call has all three arguments. A call with fewer arguments is accepted but makes
    /// no request.
    bool isComplete = false;
};

/// The text of each cell of a sheet. Each key consists of a row index and a column index. In the
/// following comments, a cell exists if it is in the map, even if its text is empty.
using CellTexts = std::map<std::pair<int, int>, std::wstring>;

/// One request and the cell to which its result belongs. The pointers point to strings in the Call
/// object or in the CellTexts map.
struct Request {
    Cell cell;
    const std::wstring* sym = nullptr;
    const std::wstring* feed = nullptr;
    const std::wstring* field = nullptr;
};

/// Limits the cost of formulas. Formulas may be untrusted, and a short formula can refer to a range
/// of any size. The default values are the limits for one workbook. A workbook of 1 MB that reaches
/// these limits needs about 335 MB of memory.
struct Budget {
    /// Remaining number of steps. Collecting the cells of a range takes one step for each cell that
    /// is visited. Each iteration of a loop in expand() also takes one step.
    std::uint64_t steps = 16'777'216;
    /// Remaining number of requests. Dropped requests also count. A request is dropped if its cell
    /// already has a request, or if an index of the cell does not fit into an int.
    std::uint64_t requests = 1'048'576;
    /// Remaining number of characters that the strings of all requests may contain in total.
    std::uint64_t characters = 67'108'864;
};

/// Converts the decimal number at the start of `text`, like wcstol() with base 10. White space and
/// one sign may precede the digits. The first character that is not a digit ends the number. If
/// there are no digits, the result is 0. A number that does not fit into an int is clamped to the
/// range of int.
int decimalValue(std::wstring_view text) noexcept;

/// Converts a one-based row or column number, such as the value of an "ss:Index" attribute, to a
/// zero-based index. If `number` is less than 1 or is not a number, the index is 0.
int zeroBasedIndex(std::wstring_view number) noexcept;

/// Finds the first call to "QkGet" or "QData" that is not in an argument of another call. The name
/// must not be part of a longer name, and "(" must follow it directly. Strings in double quotes and
/// sheet names in single quotes are skipped. Parentheses that only group an expression, as in
/// "(QkGet(...)+1)", are ignored.
/// @param[out] pos  Offset of the "(" of the call. Unchanged if no call is found.
std::optional<Function> findOutermostCall(std::wstring_view formula, std::size_t& pos) noexcept;

/// Reads a quoted value up to its closing quote. `pos` must be the offset directly after the
/// opening quote.
/// @return false if the closing quote is missing. In this case, `value` and `pos` are unchanged.
bool parseValue(std::wstring_view formula, std::wstring& value, std::size_t& pos);

/// Reads an offset in brackets and moves `pos` past the "]". If there is no "[" at `pos`, the
/// result is 0 and `pos` does not change. If no "]" follows the "[", the result is 0 and `pos`
/// moves only past the "[".
int parseIndex(std::wstring_view formula, std::size_t& pos) noexcept;

/// Reads one corner of a reference. If the row or column part is missing, the corresponding part of
/// `ref` does not change.
void parseRef(std::wstring_view formula, Cell current, Reference& ref, std::size_t& pos,
              Reading reading = Reading::strict) noexcept;

/// Reads a reference: one corner, or two corners with ":" between them. The function moves `pos` to
/// the comma or closing parenthesis that ends the reference. If `reading` is `Reading::strict`,
/// characters before this position that do not belong to a corner are ignored. If the first corner
/// lacks a row or column part, the corresponding part of `ref` does not change.
/// @return false if the end of the reference is missing. In this case, `ref` and `pos` are
///         unchanged.
bool parseReference(std::wstring_view formula, Cell current, Reference& ref, std::size_t& pos,
                    Reading reading = Reading::strict);

/// Reads one argument. A quoted argument is stored in `text` and a reference in `ref`. If the
/// argument is empty, `text` and `ref` do not change.
/// @return false if the end of a quoted argument or of a reference is missing.
bool parseArg(std::wstring_view formula, Cell current, std::wstring& text, Reference& ref,
              std::size_t& pos, Reading reading = Reading::strict);

/// Removes the first ":" of `feed` and everything before it. If there is no ":", `feed` does not
/// change.
void stripFeedPrefix(std::wstring& feed);

/// Reads the arguments of a call. `pos` must be the offset directly after the name of the function.
/// @param[out] call  The arguments. On failure, `call` contains the arguments that were read before
///                   the failure.
/// @return false if there is no "(" at `pos` or if the end of an argument is missing.
bool parseCall(std::wstring_view formula, Cell current, Function function, std::size_t& pos,
               Call& call, Reading reading = Reading::strict);

/// Makes the requests of a call. The function uses three nested loops over the cells to which the
/// arguments refer. The outer loop iterates over the feed cells, the middle loop over the
/// instrument cells, and the inner loop over the field cells. Each loop proceeds row by row. A
/// reference without a row part or column part refers to no cells. The loop over this reference
/// uses a count of 1 for each missing part, and treats every cell as nonexistent.
///
/// If a cell exists, its text replaces the current text of the argument that refers to it. If the
/// cell does not exist, the argument keeps its current text. An iteration of the inner loop makes a
/// request if the text of an argument has been replaced since the last request. The very first
/// iteration makes a request even if no text has been replaced, unless `call.literals.feed` is the
/// only empty string in `call.literals`.
///
/// The result of a request belongs to one cell. The position of this cell is the position of the
/// formula plus the current offsets of the three loops. If an index of the cell does not fit into
/// an int, the request is dropped.
///
/// A cell that does not exist counts against the budget only if it is the first cell of its range
/// or if a request is made for it.
///
/// @param[in,out] budget  The steps, requests and characters that the expansion uses are
///                        subtracted.
/// @param make            Called for each request in the order of the loops. Several requests may
///                        belong to the same cell.
/// @return false if the budget is not sufficient. In this case, `make` may already have been called
///         for some requests.
bool expand(const Call& call, Cell current, const CellTexts& texts, Budget& budget,
            const std::function<void(const Request&)>& make);

}  // namespace OrvexClipboard::formulas
