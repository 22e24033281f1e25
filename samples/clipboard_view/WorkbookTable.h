#pragma once

#include <windows.h>

#include <ole2.h>

#include <optional>
#include <string>

#include "samples/clipboard_view/Decoding.h"

/// Returns a table with a row for each cell of the workbook that `object` offers. If a formula
/// requests a value for a cell, the table row for that cell also shows the request. The formula may
/// be in another cell, because one formula can fill a range of cells. Returns std::nullopt if the
/// workbook cannot be read.
std::optional<Decoded> decodeWorkbook(IDataObject& object);

/// Returns the R1C1 name of the cell in the given zero-based row and column.
std::wstring cellName(int row, int column);
