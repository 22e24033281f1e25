#pragma once

#include <climits>

#include "formats/FormatXML4Spdsheet.h"

namespace OrvexClipboard {

/// The document of a workbook, with the places in it where writing and reading stand.
struct FormatXML4Spdsheet::Document {
    /// Creates the empty document that is to be written, unless there is one.
    bool create();

    /// Appends a `Row` to the table being written and makes it the row that receives cells.
    /// @param numbered  Whether it carries its number.
    bool startRow(bool numbered);

    ATL::CComPtr<IXMLDOMDocument> document;

    // Being written

    ATL::CComPtr<IXMLDOMElement> table;

    /// The row that receives cells, and the row under the cursor of a workbook being read. They are
    /// one: a cell that is added to a workbook that was read goes into the row under the cursor.
    ATL::CComPtr<IXMLDOMNode> row;

    // Being read

    ATL::CComPtr<IXMLDOMNodeList> rows;  ///< Keeps the place where the cursor goes next.

    // Counts of rows and cells, from 1

    int lastRow = 1;       ///< Last row written; of a workbook being read the number of its rows.
    int lastColumn = 1;    ///< Column of the last cell written, in whichever row that was.
    int rowNumber = 0;     ///< Rows added.
    int columnNumber = 0;  ///< Cells added to the row.
};

/// Adds 1, but stays at the end of int.
inline void countUp(int& number) noexcept {
    if (number < INT_MAX) ++number;
}

}  // namespace OrvexClipboard
