#pragma once

#include <windows.h>

#include <ole2.h>

#include <string>
#include <vector>

/// A format that the clipboard offers.
struct ClipboardFormat {
    unsigned number = 0;
    std::wstring name;  ///< a predefined name such as "CF_TEXT", a registered name, or empty
    DWORD storage = 0;  ///< TYMED values
};

/// Returns the numbers of the formats that are on the clipboard. The function does not open the
/// clipboard, so no other program can block the call.
std::vector<unsigned> currentFormats();

/// Returns the name of a predefined or registered format, or an empty string for other numbers.
std::wstring nameOfFormat(unsigned number);

/// Returns the names of the TYMED values that are set in `storage`, without the "TYMED_" prefix.
/// For example, the name of TYMED_HGLOBAL is "HGLOBAL".
std::vector<std::wstring> namesOfStorage(DWORD storage);
