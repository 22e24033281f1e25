#pragma once

#include "samples/exchange/Options.h"

// Commands that read one format from the clipboard. They do not change the clipboard.

/// Decodes the contents of a format and prints them.
void show(const Options& options);

/// Writes the bytes of a format to a file.
void save(const Options& options);
