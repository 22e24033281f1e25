#pragma once
/// @file
/// The clipboard format for rich text.

#include <windows.h>

#include <ole2.h>

#include "dll/export.h"

namespace OrvexClipboard {

/// Stores Rich Text Format (RTF) data as narrow text, in the registered format "rich text format".
/// The class is stateless and takes no locks.
class I18NRESOURCE_API FormatRTF {
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

    /// @param rtf  An array of at least `len` bytes, or a NUL-terminated string.
    /// @param len  Number of bytes to store, without the terminator. The function converts `len` to
    ///             int. If the result is negative, for example -1, `rtf` must be NUL-terminated,
    ///             and the whole string is stored.
    /// @return See `CDataObject::SetTextData`.
    static HRESULT ExportData(IDataObject& obj, const char* rtf, unsigned __int64 len);
};

}  // namespace OrvexClipboard
