#pragma once

#include <windows.h>

#include <ole2.h>

#include <string>
#include <vector>

/// A format that the clipboard offers.
struct ClipboardFormat {
    unsigned number = 0;
    std::wstring name;  ///< "CF_TEXT", the registered name, or empty
    DWORD storage = 0;  ///< TYMED values
};

/// The numbers of the formats on the clipboard now. Does not open the clipboard, so no other
/// program can make it wait.
std::vector<unsigned> currentFormats();

/// The name of a predefined or registered format; empty for another number.
std::wstring nameOfFormat(unsigned number);

/// The names of TYMED values, such as "HGLOBAL".
std::vector<std::wstring> namesOfStorage(DWORD storage);
