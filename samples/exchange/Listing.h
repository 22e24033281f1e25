#pragma once

/// Prints a line for each format on the clipboard: its number, its name, its storage medium types,
/// and a summary if this program can read the format. If `asJson` is true, prints this data and the
/// owner of the clipboard as JSON instead.
void list(bool asJson);
