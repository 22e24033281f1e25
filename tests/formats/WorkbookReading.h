#pragma once
// Functions for the tests that read workbooks.
#include <doctest/doctest.h>

#include <string>

#include "tests/support/Workbooks.h"

namespace testsupport {

// Returns a formula that requests an instrument. The instrument code is the text of the cell to
// which `reference` refers.
inline std::wstring requestFormula(const std::wstring& reference) {
    return L"=QkGet(\"FD\"," + reference + L",\"LAST\")";
}

// Returns the requests that the formulas in a table make.
inline std::string parsedArrays(const std::wstring& rows) {
    FormatXML4Spdsheet sheet;
    REQUIRE(sheet.importFromString(book(rows)));
    REQUIRE(sheet.parseFormulas());
    return arraysOf(sheet);
}

}  // namespace testsupport
