#pragma once

#include "samples/localize/Options.h"

enum class Shown { kAll, kNoStrings, kNothing };

/// Prints the strings that `options` specify.
Shown showStrings(const Options& options);
