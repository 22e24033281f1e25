#pragma once

#include "samples/localize/Options.h"

/// Each prints one resource of the module, or part of it.
/// @return false when neither the module nor its satellites have it.
bool showHtml(const Options& options);
bool showXml(const Options& options);
bool showIcon(const Options& options);
bool showMenu(const Options& options);

/// Prints the regional settings of system and user.
void showSettings();
