#pragma once

#include <windows.h>

#include <ole2.h>

#include <optional>

#include "samples/clipboard_view/Decoding.h"

/// Returns a table of the cells in the workbook that `object` offers. If there is a request for a
/// cell, its row also shows the request. The request results from the formula of the cell itself,
/// or from the formula of another cell that fills a range. Returns no value if the workbook cannot
/// be read.
std::optional<Decoded> decodeWorkbook(IDataObject& object);
