#pragma once

#include "samples/localize/Options.h"

enum class Shown { kAll, kNoStrings, kNothing };

/// Prints the strings that `options` asks for.
Shown showStrings(const Options& options);
