#pragma once

#include "samples/exchange/Clipboard.h"
#include "samples/exchange/Options.h"

/// Copies what the options name, in every format that serves it.
void copy(Clipboard& clipboard, const Options& options);
