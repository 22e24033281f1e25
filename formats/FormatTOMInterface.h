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
    /// The number under which the system knows the format, registered on first use. 0 when the
    /// system refused; the class then works with the format number 0.
    static unsigned int GetClipboardID();

    /// @return S_OK when there is a global block, else what the object's `QueryGetData` returned.
    static HRESULT AcceptData(IDataObject& obj);

    /// @param[out] unk  The caller owns one reference. Null on failure.
    /// @return see `CDataObject::QueryIUnknownData`.
    static HRESULT ImportData(IDataObject& obj, IUnknown** unk);
    /// @return see `CDataObject::SetIUnknownData`.
    static HRESULT ExportData(IDataObject& obj, IUnknown& unk);
};

}  // namespace OrvexClipboard
