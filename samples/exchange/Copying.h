#pragma once

#include "samples/exchange/Clipboard.h"
#include "samples/exchange/Options.h"

/// Copies the contents that the options name, in every suitable format.
void copy(Clipboard& clipboard, const Options& options);
