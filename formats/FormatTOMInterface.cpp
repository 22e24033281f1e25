#include "formats/FormatTOMInterface.h"

#include "clipboard/CDataObject.h"
#include "formats/RegisteredFormat.h"

namespace OrvexClipboard {

namespace {

constinit RegisteredFormat s_format(L"TARLO_OBJECT_MODEL_INTERFACE");

}  // namespace

const wchar_t* FormatTOMInterface::GetClipboardName() { return s_format.name(); }

unsigned int FormatTOMInterface::GetClipboardID() { return s_format.id(); }

HRESULT FormatTOMInterface::AcceptData(IDataObject& obj) {
    return CDataObject::AcceptIUnknownData(obj, GetClipboardID());
}

HRESULT FormatTOMInterface::ImportData(IDataObject& obj, IUnknown** unk) {
    return CDataObject::QueryIUnknownData(obj, GetClipboardID(), unk);
}

HRESULT FormatTOMInterface::ExportData(IDataObject& obj, IUnknown& unk) {
    return CDataObject::SetIUnknownData(obj, GetClipboardID(), unk);
}

}  // namespace OrvexClipboard
