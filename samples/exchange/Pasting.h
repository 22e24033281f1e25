#pragma once

#include "samples/exchange/Clipboard.h"
#include "samples/exchange/Options.h"

/// Prints what the clipboard holds of a kind.
/// @throws Failure with kNothingToPaste when there is nothing of it, with kRefused when it cannot
///         be read.
void paste(Clipboard& clipboard, Kind kind);
