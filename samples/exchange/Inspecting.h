#pragma once

#include "samples/exchange/Options.h"

// Commands that read one format from the clipboard. The commands do not change the clipboard.

/// Decodes and prints the contents of a format.
void show(const Options& options);

/// Writes the bytes of a format to a file.
void save(const Options& options);
