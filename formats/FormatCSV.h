#pragma once
/// @file
/// The clipboard format of comma-separated values.

#include <windows.h>

#include <ole2.h>

#include "dll/export.h"

namespace OrvexClipboard {

/// Reads comma-separated values as narrow text. The class keeps no data and takes no lock.
///
/// Compatibility: the registered name of the format is "cvs", because existing programs use this
/// spelling.
class I18NRESOURCE_API FormatCSV {
public:
    /// Returns the registered name of the format.
    static const wchar_t* GetClipboardName();
    /// Returns the number of the format, which is registered on first use. If the registration
    /// fails, the number is 0, and the other functions use 0 as well.
    static unsigned int GetClipboardID();

    /// @return S_OK if `obj` offers the format in a global block; otherwise the result of its
    ///         `QueryGetData`.
    static HRESULT AcceptData(IDataObject& obj);

    /// @param[out] text  A new array that ends in NUL; the caller frees it with delete[]. Null on
    ///                   failure.
    /// @param[out] len   Optional. Size of the stored block in bytes. The terminator and any bytes
    ///                   after it are included. Unchanged on failure.
    /// @return See `CDataObject::QueryTextData`.
    static HRESULT ImportData(IDataObject& obj, char** text, unsigned __int64* len);
};

}  // namespace OrvexClipboard
