#pragma once
/// @file
/// The clipboard format of rich text.

#include <windows.h>

#include <ole2.h>

#include "dll/export.h"

namespace OrvexClipboard {

/// Rich text (RTF) as narrow text, "rich text format". Keeps no data and takes no lock.
class I18NRESOURCE_API FormatRTF {
public:
    /// The registered name of the format.
    static const wchar_t* GetClipboardName();
    /// The registered number of the format, which is registered on first use. 0 if the
    /// registration failed; the class then works with the format number 0.
    static unsigned int GetClipboardID();

    /// @return S_OK if there is a global block, otherwise the result of the object's
    ///         `QueryGetData`.
    static HRESULT AcceptData(IDataObject& obj);

    /// @param rtf  Bytes, at least `len` of them.
    /// @param len  Bytes to store, terminator not counted. Only the low 32 bits count, as a signed
    ///             number; a negative one, such as -1, means up to the terminating NUL.
    /// @return See `CDataObject::SetTextData`.
    static HRESULT ExportData(IDataObject& obj, const char* rtf, unsigned __int64 len);
};

}  // namespace OrvexClipboard
