#pragma once

namespace platform::wine {

/// Whether a file of this name is in a folder that AddDllDirectory or SetDllDirectory has added to
/// the search for DLLs. None of its code runs.
///
/// `LoadLibraryExW` with LOAD_LIBRARY_AS_DATAFILE and LOAD_LIBRARY_SEARCH_USER_DIRS
///
/// Wine (8.0) searches the standard folders for such a file instead, and then maps a file in an
/// added folder as code. Under Wine, the list of added folders comes from Wine's loader, and the
/// file is searched for by its name.
bool isInAddedFolders(const wchar_t* fileName) noexcept;

}  // namespace platform::wine
