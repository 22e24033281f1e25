#pragma once
/// @file
/// The clipboard format for an interface of an object model.

#include <windows.h>

#include <ole2.h>

#include "dll/export.h"

namespace OrvexClipboard {

/// Exchanges an interface pointer between the apartments of one process, in the registered format
/// "TARLO_OBJECT_MODEL_INTERFACE". The class is stateless and takes no locks.
class I18NRESOURCE_API FormatTOMInterface {
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

    /// @param[out] unk  The stored interface pointer; the caller owns one reference. Null on
    ///                  failure.
    /// @return See `CDataObject::QueryIUnknownData`.
    static HRESULT ImportData(IDataObject& obj, IUnknown** unk);
    /// @return See `CDataObject::SetIUnknownData`.
    static HRESULT ExportData(IDataObject& obj, IUnknown& unk);
};

}  // namespace OrvexClipboard
