#pragma once

#include "samples/localize/Options.h"

/// These functions print one resource of the module, or a part of it.
/// @return false if neither the module nor its satellites contain the resource, or if the XML
/// document does not contain the requested node.
bool showHtml(const Options& options);
bool showXml(const Options& options);
bool showIcon(const Options& options);
bool showMenu(const Options& options);

/// Prints the regional settings of the system and of the user.
void showSettings();
