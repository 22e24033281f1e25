#pragma once

namespace platform::wine {

/// Returns true if a folder that AddDllDirectory or SetDllDirectory has added to the search for
/// DLLs contains a file with this name. The function does not run code in the file.
///
/// On Windows, the function calls `LoadLibraryExW` with LOAD_LIBRARY_AS_DATAFILE and
/// LOAD_LIBRARY_SEARCH_USER_DIRS. The result is also true if the file exists but cannot be loaded.
/// With these flags, Wine (8.0) first searches the standard folders, which the flags do not
/// include, and then maps a file in an added folder as code. Under Wine, the function therefore
/// gets the list of added folders from Wine's ntdll.dll and searches these folders for the name of
/// the file.
bool isInAddedFolders(const wchar_t* fileName) noexcept;

}  // namespace platform::wine
