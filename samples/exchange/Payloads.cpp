#include "samples/exchange/Payloads.h"

#include <memory>

#include "samples/clipboard_view/TextFile.h"

std::optional<std::wstring> narrowText(IDataObject& object, unsigned int format) {
    char* text = nullptr;
    if (CDataObject::QueryTextData(object, format, &text, nullptr) != S_OK) return std::nullopt;
    const std::unique_ptr<char[]> owner(text);
    return decodeNarrow(text);
}

std::optional<std::wstring> plainText(IDataObject& object) {
    wchar_t* text = nullptr;
    if (CDataObject::QueryTextData(object, CF_UNICODETEXT, &text, nullptr) != S_OK)
        return narrowText(object, CF_TEXT);
    const std::unique_ptr<wchar_t[]> owner(text);
    return std::wstring(text);
}
