#pragma once

#include <windows.h>

#include <string>

#include "samples/workstation/Instrument.h"

/// Shows the dialog for the file to write to. Empty when the user cancels.
std::wstring askForExportPath(HWND owner);

/// Writes instruments as plain text in UTF-8.
/// @return false when the file cannot be written; its earlier contents are lost then.
bool exportText(const std::wstring& path, const Instruments& instruments);
