#pragma once

#include "samples/exchange/Clipboard.h"
#include "samples/exchange/Options.h"

/// Puts the contents that `options` specify on the clipboard, in all suitable formats.
void copy(Clipboard& clipboard, const Options& options);
