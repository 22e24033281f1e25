#pragma once

#include "samples/exchange/Options.h"

// Commands that read one format of the clipboard. None of them changes the clipboard.

/// Prints the contents of a format, decoded.
void show(const Options& options);

/// Writes the bytes of a format to a file.
void save(const Options& options);
