#include "formats/FormatCSV.h"

#include "clipboard/CDataObject.h"
#include "formats/RegisteredFormat.h"

namespace OrvexClipboard {

namespace {

constinit RegisteredFormat s_format(L"cvs");

}  // namespace

const wchar_t* FormatCSV::GetClipboardName() { return s_format.name(); }

unsigned int FormatCSV::GetClipboardID() { return s_format.id(); }

HRESULT FormatCSV::AcceptData(IDataObject& obj) {
    return CDataObject::AcceptTextData(obj, GetClipboardID());
}

HRESULT FormatCSV::ImportData(IDataObject& obj, char** text, unsigned __int64* len) {
    return CDataObject::QueryTextData(obj, GetClipboardID(), text, len);
}

}  // namespace OrvexClipboard
