#pragma once

#include "samples/exchange/Clipboard.h"
#include "samples/exchange/Options.h"

/// Puts data on the clipboard in all suitable formats. `options` specifies the data.
void copy(Clipboard& clipboard, const Options& options);
