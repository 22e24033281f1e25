#pragma once
/// @file
/// The clipboard format of an object model's interface.

#include <windows.h>

#include <ole2.h>

#include "dll/export.h"

namespace OrvexClipboard {

/// An interface of an object model, "TARLO_OBJECT_MODEL_INTERFACE", for exchange between apartments
/// of one process. Keeps no data and takes no lock.
class I18NRESOURCE_API FormatTOMInterface {
public:
    /// The registered name of the format.
    static const wchar_t* GetClipboardName();
    /// The registered number of the format, which is registered on first use. 0 if the
    /// registration failed; the class then works with the format number 0.
    static unsigned int GetClipboardID();

    /// @return S_OK if there is a global block, otherwise the result of the object's
    ///         `QueryGetData`.
    static HRESULT AcceptData(IDataObject& obj);

    /// @param[out] unk  The caller owns one reference. Null on failure.
    /// @return See `CDataObject::QueryIUnknownData`.
    static HRESULT ImportData(IDataObject& obj, IUnknown** unk);
    /// @return See `CDataObject::SetIUnknownData`.
    static HRESULT ExportData(IDataObject& obj, IUnknown& unk);
};

}  // namespace OrvexClipboard
