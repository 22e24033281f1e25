#pragma once

/// Prints a line each time the clipboard changes, until the user presses Ctrl+C. The line contains
/// the time, the program that owns the clipboard, and the names of the formats. The function does
/// not open the clipboard.
void watch();
