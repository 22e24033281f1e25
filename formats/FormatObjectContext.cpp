#include "formats/FormatObjectContext.h"

#include "clipboard/CDataObject.h"
#include "formats/RegisteredFormat.h"

namespace OrvexClipboard {

namespace {

constinit RegisteredFormat s_format(L"TARLO_OBJECT_CONTEXT");

}  // namespace

const wchar_t* FormatObjectContext::GetClipboardName() { return s_format.name(); }

unsigned int FormatObjectContext::GetClipboardID() { return s_format.id(); }

// Compatibility: this function tests for a global memory block, although ExportData stores a
// stream. Callers rely on this behavior.
HRESULT FormatObjectContext::AcceptData(IDataObject& obj) {
    return CDataObject::AcceptHGLOBALData(obj, GetClipboardID());
}

HRESULT FormatObjectContext::ImportData(IDataObject& obj, IXMLDOMDocument2** doc) {
    return CDataObject::QueryXMLData(obj, GetClipboardID(), doc);
}

HRESULT FormatObjectContext::ImportXML6Data(IDataObject& obj, IXMLDOMDocument2** doc) {
    return CDataObject::QueryXML6Data(obj, GetClipboardID(), doc);
}

HRESULT FormatObjectContext::ExportData(IDataObject& obj, IXMLDOMDocument2& doc) {
    return CDataObject::SetXMLData(obj, GetClipboardID(), doc);
}

}  // namespace OrvexClipboard
