#pragma once

#include <windows.h>

#include <ole2.h>

#include <optional>

#include "samples/clipboard_view/Decoding.h"

/// The cells of the workbook that `object` offers, each with the request that its formula makes or
/// that the formula of another cell makes for it. Nothing if the workbook cannot be read.
std::optional<Decoded> decodeWorkbook(IDataObject& object);
