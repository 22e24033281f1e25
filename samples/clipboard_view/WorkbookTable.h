#pragma once

#include <windows.h>

#include <ole2.h>

#include <optional>

#include "samples/clipboard_view/Decoding.h"

/// Returns a table of the cells in the workbook that `object` offers. A row also shows the request
/// for the cell. The request comes from the formula of the cell itself, or from the formula of
/// another cell that fills a range. Returns no value if the workbook cannot be read.
std::optional<Decoded> decodeWorkbook(IDataObject& object);
