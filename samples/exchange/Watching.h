#pragma once

/// Prints a line for each change of the clipboard, until Ctrl+C: the time, the program that owns the
/// clipboard, the names of the formats. It does not open the clipboard.
void watch();
