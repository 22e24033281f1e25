#pragma once

#include <windows.h>

#include <string>

#include "samples/workstation/Instrument.h"

/// Shows the Save As dialog. Returns the selected path, or an empty string if the user cancels.
std::wstring selectExportPath(HWND owner);

/// Writes instruments as plain text in UTF-8.
/// @return false if the file cannot be written completely. In this case, the earlier contents of
///         the file may be lost.
bool exportText(const std::wstring& path, const Instruments& instruments);
