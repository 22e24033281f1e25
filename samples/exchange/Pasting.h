#pragma once

#include "samples/exchange/Clipboard.h"
#include "samples/exchange/Options.h"

/// Prints the contents of the clipboard of one kind.
/// @throws Failure with kNothingToPaste when there are none, with kRefused when they cannot be
/// read.
void paste(Clipboard& clipboard, Kind kind);
