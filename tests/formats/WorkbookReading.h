#pragma once
// The tests that read workbooks share these.
#include <doctest/doctest.h>

#include <string>

#include "tests/support/Workbooks.h"

namespace testsupport {

// A formula that requests an instrument whose code is the text of another cell.
inline std::wstring ask(const std::wstring& reference) {
    return L"=QkGet(\"FD\"," + reference + L",\"LAST\")";
}

// The requests of the formulas in a table.
inline std::string parsedArrays(const std::wstring& rows) {
    FormatXML4Spdsheet sheet;
    REQUIRE(sheet.importFromString(book(rows)));
    REQUIRE(sheet.parseFormulas());
    return arraysOf(sheet);
}

}  // namespace testsupport
