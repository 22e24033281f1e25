#pragma once

#include "samples/localize/Options.h"

enum class Shown { kAll, kNoStrings, kMissing };

/// Prints the strings that `options` specifies.
Shown showStrings(const Options& options);
