#pragma once
// Functions that the tests that read workbooks have in common.
#include <doctest/doctest.h>

#include <string>

#include "tests/support/Workbooks.h"

namespace testsupport {

// Returns a formula that requests an instrument. The code of the instrument is the text of the cell
// `reference`.
inline std::wstring ask(const std::wstring& reference) {
    return L"=QkGet(\"FD\"," + reference + L",\"LAST\")";
}

// Returns the requests of the formulas in a table.
inline std::string parsedArrays(const std::wstring& rows) {
    FormatXML4Spdsheet sheet;
    REQUIRE(sheet.importFromString(book(rows)));
    REQUIRE(sheet.parseFormulas());
    return arraysOf(sheet);
}

}  // namespace testsupport
