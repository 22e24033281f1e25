#pragma once
/// @file
/// The clipboard format of rich text.

#include <windows.h>

#include <ole2.h>

#include "dll/export.h"

namespace OrvexClipboard {

/// Stores Rich Text Format (RTF) as narrow text, in the registered format "rich text format". The
/// class keeps no data and takes no lock.
class I18NRESOURCE_API FormatRTF {
public:
    /// Returns the registered name of the format.
    static const wchar_t* GetClipboardName();
    /// Returns the number of the format, which is registered on first use. If the registration
    /// fails, the number is 0, and the other functions use 0 as well.
    static unsigned int GetClipboardID();

    /// @return S_OK if `obj` offers the format in a global block; otherwise the result of its
    ///         `QueryGetData`.
    static HRESULT AcceptData(IDataObject& obj);

    /// @param rtf  At least `len` bytes, or a string that ends in NUL if `len` is negative.
    /// @param len  Number of bytes to store, without the terminator. Only the low 32 bits are used,
    ///             as a signed number. If this number is negative, such as -1, everything up to the
    ///             terminating NUL is stored.
    /// @return See `CDataObject::SetTextData`.
    static HRESULT ExportData(IDataObject& obj, const char* rtf, unsigned __int64 len);
};

}  // namespace OrvexClipboard
