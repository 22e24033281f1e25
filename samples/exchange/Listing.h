#pragma once

/// Prints a line for every format that the clipboard offers: its number, its name, how it is
/// stored, and a summary if this program can read it. With `asJson`, prints them as JSON.
void list(bool asJson);
