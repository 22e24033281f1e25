#pragma once

#include "samples/exchange/Clipboard.h"
#include "samples/exchange/Options.h"

/// Prints data of the given kind from the clipboard.
/// @throws Failure with kNothingToPaste if the clipboard has no data of this kind, or with kRefused
///         if the data cannot be read.
void paste(Clipboard& clipboard, Kind kind);
