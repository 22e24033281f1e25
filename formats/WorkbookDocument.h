#pragma once

#include <climits>

#include "formats/FormatXML4Spdsheet.h"
#include "formats/FormulaParser.h"
#include "formats/LazyDocument.h"

namespace OrvexClipboard {

/// The document of a workbook, with the current positions for writing and for reading.
struct FormatXML4Spdsheet::Document {
    /// Appends a `Row` element to the table that is being written. Later cells are added to this
    /// row.
    /// @param numbered  True to write the row number as the "ss:Index" attribute of the row.
    bool startRow(bool numbered);

    bool firstRow();
    bool nextRow();

    /// Visits the cells of all rows. `row` and `column` are the zero-based indices of the current
    /// cell.
    /// @param[out] formula   Optional. The formula of the current cell; empty if the cell has no
    ///                       formula. `atCell` may move from it.
    /// @param atNumberedRow  Called for each row that has an "ss:Index" attribute, before the cells
    ///                       of the row are visited.
    /// @param atCell         Called with the node of each cell. It may return false to stop the
    ///                       loop.
    /// @return false if `atCell` returned false.
    template <class AtNumberedRow, class AtCell>
    bool forEachCell(int& row, int& column, std::wstring* formula,
                     const AtNumberedRow& atNumberedRow, const AtCell& atCell);

    /// Reads the attributes of a cell. `column` changes only if the cell has an "ss:Index"
    /// attribute.
    /// @param[out] formula  Optional. The formula of the cell; empty if the cell has no formula.
    /// @return The number of additional columns that the cell occupies. Always 0 with
    ///         `Reading::strict`.
    int readCellAttributes(IXMLDOMNode& cell, int& column, std::wstring* formula) const;

    /// Reads the text of a cell.
    /// @return false if the cell has no `Data` element or if the element's text cannot be read. In
    ///         both cases, `text` is unchanged.
    bool readText(IXMLDOMNode& cell, std::wstring& text) const;

    LazyDocument<IXMLDOMDocument> document;
    Reading reading = Reading::strict;

    // Writing

    ATL::CComPtr<IXMLDOMElement> table;

    /// The row to which new cells are added. In an imported workbook, this is the row under the row
    /// cursor.
    ATL::CComPtr<IXMLDOMNode> row;

    // Reading

    /// The rows of the table. The list stores the position of the row cursor.
    ATL::CComPtr<IXMLDOMNodeList> rows;

    // One-based row and column numbers, and counts

    int lastRow = 1;       ///< Last row written; in an imported workbook, the number of rows.
    int lastColumn = 1;    ///< Column of the last cell written, in any row.
    int rowNumber = 0;     ///< Number of rows added.
    int columnNumber = 0;  ///< Number of cells added to the current row.

    // Formulas

    /// The remaining budget of the workbook. The numbers of requests and characters are reduced
    /// when an array is appended to the list of arrays. The number of steps is never reduced,
    /// because each pass over the formulas starts with the full number.
    formulas::Budget budget;
    /// The remaining budget of the current pass. Each pass starts with a copy of `budget`.
    formulas::Budget passBudget;
};

/// Adds 1 and `additional` to `number`. `additional` must not be negative. If the sum does not fit
/// into an int, `number` becomes INT_MAX.
inline void incrementClamped(int& number, int additional = 0) noexcept {
    number = number < INT_MAX - additional ? number + additional + 1 : INT_MAX;
}

}  // namespace OrvexClipboard
