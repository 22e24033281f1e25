#pragma once
/// @file
/// The clipboard format for comma-separated values.

#include <windows.h>

#include <ole2.h>

#include "dll/export.h"

namespace OrvexClipboard {

/// Reads comma-separated values as narrow text. The class is stateless and takes no locks.
///
/// Compatibility: the registered name of the format is "cvs", because existing programs use this
/// spelling.
class I18NRESOURCE_API FormatCSV {
public:
    /// Returns the registered name of the format.
    static const wchar_t* GetClipboardName();
    /// Returns the identifier of the clipboard format. The format is registered on first use. If
    /// the registration fails, the function returns 0, and the other functions of this class use 0
    /// as the identifier.
    static unsigned int GetClipboardID();

    /// @return S_OK if `obj` offers the format in a global memory block; otherwise the result of
    ///         the object's `QueryGetData`.
    static HRESULT AcceptData(IDataObject& obj);

    /// @param[out] text  A new NUL-terminated array, which the caller frees with delete[]. Null on
    ///                   failure.
    /// @param[out] len   Optional. Size of the stored block in bytes, including the terminator and
    ///                   any bytes after it. Unchanged on failure.
    /// @return See `CDataObject::QueryTextData`.
    static HRESULT ImportData(IDataObject& obj, char** text, unsigned __int64* len);
};

}  // namespace OrvexClipboard
