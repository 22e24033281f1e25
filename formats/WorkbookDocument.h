#pragma once

#include <climits>

#include "formats/FormatXML4Spdsheet.h"
#include "formats/FormulaParser.h"
#include "formats/StartedDocument.h"

namespace OrvexClipboard {

/// The document of a workbook, with the current positions for writing and for reading.
struct FormatXML4Spdsheet::Document {
    /// Appends a `Row` to the table that is written and makes it the row that receives cells.
    /// @param numbered  Whether it carries its number.
    bool startRow(bool numbered);

    bool firstRow();
    bool nextRow();

    /// Goes through the cells of all rows; `row` and `column` become the place of each.
    /// @param atNumberedRow  Called for a row with an index, before its cells.
    /// @param atCell         Called with the node of each cell. It calls `moveTo`, and returns false
    ///                       to stop.
    /// @return false if `atCell` stopped.
    template <class AtNumberedRow, class AtCell>
    bool forEachCell(int& row, int& column, const AtNumberedRow& atNumberedRow,
                     const AtCell& atCell);

    /// Reads the attributes that place a cell: moves `column` to its index, if it has one, and sets
    /// `mergedColumns`.
    /// @param[out] formula  Optional. New contents: the formula, empty if there is none.
    void moveTo(IXMLDOMNode& cell, int& column, std::wstring* formula);

    /// Reads the text of a cell.
    /// @return false without `Data`, and if its text cannot be read; `text` is untouched then.
    bool readText(IXMLDOMNode& cell, std::wstring& text) const;

    StartedDocument<IXMLDOMDocument> document;
    Reading reading = Reading::strict;

    // Writing

    ATL::CComPtr<IXMLDOMElement> table;

    /// The row that receives cells, which is also the row under the cursor of a workbook that is
    /// read: a cell that is added to such a workbook goes into that row.
    ATL::CComPtr<IXMLDOMNode> row;

    // Reading

    ATL::CComPtr<IXMLDOMNodeList> rows;  ///< Keeps the position of the row cursor.
    int mergedColumns =
        0;  ///< Columns that the cell takes up besides its own. In a strict reading 0.

    // Counts of rows and cells, from 1

    int lastRow = 1;     ///< Last row written; in a workbook that is read, the number of its rows.
    int lastColumn = 1;  ///< Column of the last cell written, in any row.
    int rowNumber = 0;   ///< Rows added.
    int columnNumber = 0;  ///< Cells added to the row.

    // Formulas

    formulas::Budget budget;      ///< Left by the arrays in the list; its steps stay whole.
    formulas::Budget passBudget;  ///< Left by these arrays and the formulas of the running pass.
};

/// Adds 1 and `more`, which is not negative, but stays at the end of int.
inline void countUp(int& number, int more = 0) noexcept {
    number = number < INT_MAX - more ? number + more + 1 : INT_MAX;
}

}  // namespace OrvexClipboard
