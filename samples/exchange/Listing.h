#pragma once

#include "samples/exchange/Clipboard.h"

/// Prints a line for every format that the clipboard holds: its number, its name, how it is stored,
/// and what it says where this program can tell.
void list(Clipboard& clipboard);
