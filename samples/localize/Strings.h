#pragma once

#include "samples/localize/Options.h"

enum class Shown { kAll, kNoStrings, kNothing };

/// Prints the strings that `options` select.
Shown showStrings(const Options& options);
