#pragma once

namespace platform::wine {

/// Returns true if a file with this name is in a folder that was added with AddDllDirectory or
/// SetDllDirectory. The function does not run code in the file.
///
/// On Windows, the function calls `LoadLibraryExW` with LOAD_LIBRARY_AS_DATAFILE and
/// LOAD_LIBRARY_SEARCH_USER_DIRS. The result is also true if the file exists but cannot be loaded.
/// In Wine 8.0, LoadLibraryExW first searches the standard folders, which these flags do not
/// include. LoadLibraryExW also loads a file in an added folder as an executable module, not as a
/// data file. Under Wine, the function therefore gets the list of added folders from ntdll.dll and
/// searches these folders.
bool isInAddedFolders(const wchar_t* fileName) noexcept;

}  // namespace platform::wine
