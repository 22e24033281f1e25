#pragma once

#include <windows.h>

#include <string>

#include "samples/workstation/Instrument.h"

/// Asks the user for the file to write to. Empty when the user has changed their mind.
std::wstring askForExportPath(HWND owner);

/// Writes instruments as plain text in UTF-8.
/// @return false when the file cannot be written; what was in it is lost then.
bool exportText(const std::wstring& path, const Instruments& instruments);
