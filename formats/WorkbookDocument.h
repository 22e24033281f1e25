#pragma once

#include <climits>

#include "formats/FormatXML4Spdsheet.h"
#include "formats/FormulaParser.h"
#include "formats/StartedDocument.h"

namespace OrvexClipboard {

/// The document of a workbook, with the positions of writing and reading in it.
struct FormatXML4Spdsheet::Document {
    /// Appends a `Row` to the table that is written and makes it the row that receives cells.
    /// @param numbered  Whether it carries its number.
    bool startRow(bool numbered);

    StartedDocument<IXMLDOMDocument> document;

    // Writing

    ATL::CComPtr<IXMLDOMElement> table;

    /// The row that receives cells, which is also the row under the cursor of a workbook that is
    /// read: a cell that is added to such a workbook goes into that row.
    ATL::CComPtr<IXMLDOMNode> row;

    // Reading

    ATL::CComPtr<IXMLDOMNodeList> rows;  ///< Keeps the position of the row cursor.

    // Counts of rows and cells, from 1

    int lastRow = 1;       ///< Last row written; of a workbook that is read the number of its rows.
    int lastColumn = 1;    ///< Column of the last cell written, in whichever row that was.
    int rowNumber = 0;     ///< Rows added.
    int columnNumber = 0;  ///< Cells added to the row.

    // Formulas

    formulas::Budget budget;      ///< Left by the arrays in the list; its steps stay whole.
    formulas::Budget passBudget;  ///< Left by these arrays and the formulas of the running pass.
};

/// Adds 1, but stays at the end of int.
inline void countUp(int& number) noexcept {
    if (number < INT_MAX) ++number;
}

}  // namespace OrvexClipboard
