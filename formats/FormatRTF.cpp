#include "formats/FormatRTF.h"

#include "clipboard/CDataObject.h"
#include "formats/RegisteredFormat.h"

namespace OrvexClipboard {

namespace {

constinit RegisteredFormat s_format(L"rich text format");

}  // namespace

const wchar_t* FormatRTF::GetClipboardName() { return s_format.name(); }

unsigned int FormatRTF::GetClipboardID() { return s_format.id(); }

HRESULT FormatRTF::AcceptData(IDataObject& obj) {
    return CDataObject::AcceptTextData(obj, GetClipboardID());
}

HRESULT FormatRTF::ExportData(IDataObject& obj, const char* rtf, unsigned __int64 len) {
    // Compatibility: callers pass -1 for a NUL-terminated string. `len` is unsigned, and the
    // conversion to int yields -1 again.
    return CDataObject::SetTextData(obj, GetClipboardID(), rtf, static_cast<int>(len));
}

}  // namespace OrvexClipboard
