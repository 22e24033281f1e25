#pragma once

/// Prints a line for each format on the clipboard: its number, its name, its storage medium types,
/// and a summary if this program can read the format. With `asJson`, prints the same data as JSON.
void list(bool asJson);
