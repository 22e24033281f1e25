#pragma once
/// @file
/// The clipboard format of comma-separated values.

#include <windows.h>

#include <ole2.h>

#include "dll/export.h"

namespace OrvexClipboard {

/// Comma-separated values as narrow text. The registered name is "cvs": existing programs spell it
/// that way. Keeps no data and takes no lock.
class I18NRESOURCE_API FormatCSV {
public:
    /// The registered name of the format.
    static const wchar_t* GetClipboardName();
    /// The registered number of the format, which is registered on first use. 0 if the
    /// registration failed; the class then works with the format number 0.
    static unsigned int GetClipboardID();

    /// @return S_OK if there is a global block, otherwise the result of the object's
    ///         `QueryGetData`.
    static HRESULT AcceptData(IDataObject& obj);

    /// @param[out] text  New array ending in NUL; the caller frees it with delete[]. Null on
    ///                   failure.
    /// @param[out] len   May be null. Size of the stored block in bytes, its NUL counted.
    /// @return See `CDataObject::QueryTextData`.
    static HRESULT ImportData(IDataObject& obj, char** text, unsigned __int64* len);
};

}  // namespace OrvexClipboard
