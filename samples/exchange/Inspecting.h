#pragma once

#include "samples/exchange/Options.h"

// Commands that read one format from the clipboard. The commands do not change the clipboard.

/// Decodes and prints the data in the format `options.format`.
void show(const Options& options);

/// Writes the data in the format `options.format` to a file, without decoding it.
void save(const Options& options);
