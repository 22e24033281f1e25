#pragma once

#include <windows.h>

#include <ole2.h>

#include <optional>
#include <string>

#include "samples/clipboard_view/Decoding.h"

/// Returns a table with a row for each cell of the workbook that `object` offers. If a formula
/// requests a value for the cell, the row also shows the request. The formula may be in another
/// cell, because one formula can fill a range of cells. Returns no value if the workbook cannot be
/// read.
std::optional<Decoded> decodeWorkbook(IDataObject& object);

/// Returns the name of a cell in R1C1 notation, from its zero-based row and column.
std::wstring cellName(int row, int column);
