#pragma once

namespace platform::wine {

/// Whether a file of this name is in a folder that AddDllDirectory or SetDllDirectory has added to
/// the search for DLLs. None of its code runs.
///
/// Windows: LoadLibraryExW searches just these folders for a file to map as data.
/// Wine 8: for such a file LoadLibraryExW searches the standard folders instead, and then maps one
/// in an added folder as code. The list of added folders comes from Wine's loader instead, and the
/// file is looked for by its name.
bool isInAddedFolders(const wchar_t* fileName) noexcept;

}  // namespace platform::wine
