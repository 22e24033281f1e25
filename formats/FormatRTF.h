#pragma once
/// @file
/// The clipboard format for rich text.

#include <windows.h>

#include <ole2.h>

#include "dll/export.h"

namespace OrvexClipboard {

/// Stores Rich Text Format (RTF) as narrow text, in the registered format "rich text format". The
/// class is stateless and takes no locks.
class I18NRESOURCE_API FormatRTF {
public:
    /// Returns the registered name of the format.
    static const wchar_t* GetClipboardName();
    /// Returns the identifier of the clipboard format. The format is registered on first use. If
    /// the registration fails, the identifier is 0, and the other functions use 0 as well.
    static unsigned int GetClipboardID();

    /// @return S_OK if `obj` offers the format in a global block; otherwise the result of its
    ///         `QueryGetData`.
    static HRESULT AcceptData(IDataObject& obj);

    /// @param rtf  At least `len` bytes, or a NUL-terminated string if `len` is negative.
    /// @param len  Number of bytes to store, without the terminator. Only the low 32 bits are used,
    ///             as a signed integer. If this integer is negative, for example -1, the whole
    ///             NUL-terminated string is stored.
    /// @return See `CDataObject::SetTextData`.
    static HRESULT ExportData(IDataObject& obj, const char* rtf, unsigned __int64 len);
};

}  // namespace OrvexClipboard
