#pragma once

/// Prints a line for each change of the clipboard until the user presses Ctrl+C. The line contains
/// the time, the program that owns the clipboard, and the names of the formats. Does not open the
/// clipboard.
void watch();
