#pragma once

#include "samples/localize/Options.h"

enum class Shown { kAll, kNoStrings, kNothing };

/// Prints the strings that `options` specifies.
Shown showStrings(const Options& options);
