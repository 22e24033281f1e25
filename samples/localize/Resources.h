#pragma once

#include "samples/localize/Options.h"

/// The following functions print a resource of the module. If `options.node` is set, showXml()
/// prints only the value of that element.
/// @return false if neither the module nor its satellites contain the resource, or if the XML
/// document does not contain the requested node.
bool showHtml(const Options& options);
bool showXml(const Options& options);
bool showIcon(const Options& options);
bool showMenu(const Options& options);

/// Prints the regional settings of the system and of the user.
void showSettings();
