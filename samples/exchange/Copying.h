#pragma once

#include "samples/exchange/Clipboard.h"
#include "samples/exchange/Options.h"

/// Copies the contents that the options specify to the clipboard, in all suitable formats.
void copy(Clipboard& clipboard, const Options& options);
