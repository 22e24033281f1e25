#pragma once

/// Prints a line for each format on the clipboard. The line contains the number, name and storage
/// medium types of the format, and a summary of the data if this program can read the format. If
/// `asJson` is true, prints the same information and the owner of the clipboard as JSON instead.
void list(bool asJson);
