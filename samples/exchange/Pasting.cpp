#include "samples/exchange/Pasting.h"

#include <algorithm>
#include <initializer_list>

#include "samples/clipboard_view/Portfolio.h"
#include "samples/exchange/Console.h"
#include "samples/exchange/Failure.h"
#include "samples/exchange/Payloads.h"
#include "samples/exchange/XmlFile.h"

using namespace OrvexClipboard;

namespace {

[[noreturn]] void failMissing(const wchar_t* what) {
    throw Failure{kNothingToPaste, std::wstring(L"the clipboard holds no ") + what};
}

[[noreturn]] void failUnreadable(const wchar_t* what) {
    throw Failure{kRefused, std::wstring(L"the clipboard holds ") + what + L" that cannot be read"};
}

/// Returns true if `object` offers text in one of the formats, but the text cannot be read.
bool isUnreadable(IDataObject& object, std::initializer_list<unsigned int> formats) {
    return std::ranges::any_of(formats, [&object](unsigned int format) {
        return CDataObject::AcceptTextData(object, format) == S_OK && !narrowText(object, format);
    });
}

void pasteText(IDataObject& object) {
    const auto text = plainText(object);
    if (!text && isUnreadable(object, {CF_UNICODETEXT, CF_TEXT})) failUnreadable(L"text");
    if (!text) failMissing(L"text");
    printPasted(*text);
}

void pasteCode(IDataObject& object) {
    std::wstring type, code;
    if (FormatSym::ImportData(object, false, type, code) != S_OK) {
        if (isUnreadable(object, {FormatSym::GetClipboardID(), CF_UNICODETEXT, CF_TEXT}))
            failUnreadable(L"an instrument code");
        failMissing(L"instrument code");
    }
    printPasted(code + (type.empty() ? L" (without a type)" : L" of type " + type));
}

void pasteNarrow(IDataObject& object, unsigned int format, const wchar_t* what) {
    const auto text = narrowText(object, format);
    if (!text && isUnreadable(object, {format})) failUnreadable(what);
    if (!text) failMissing(what);
    printPasted(*text);
}

void pasteXml(IDataObject& object) {
    if (FormatXML::AcceptData(object) != S_OK) failMissing(L"XML document");
    ATL::CComPtr<IXMLDOMDocument2> document;
    if (FormatXML::ImportData(object, &document) != S_OK) failUnreadable(L"an XML document");
    printPasted(textOf(*document));
}

void pastePortfolio(IDataObject& object) {
    const bool asDocument = FormatXML::AcceptData(object) == S_OK;
    if (!asDocument &&
        CDataObject::AcceptHGLOBALData(object, FormatSymFid::GetClipboardID()) != S_OK)
        failMissing(L"portfolio");
    FormatXML document;
    const HRESULT hr = asDocument ? FormatXML::ImportData(object, document)
                                  : FormatSymFid::ImportData(object, document);
    if (hr != S_OK) failUnreadable(L"a portfolio");
    for (const std::wstring& line : linesOf(decodedOf(readPortfolio(document))))
        print(stdout, line + L"\n");
}

}  // namespace

void paste(Clipboard& clipboard, Kind kind) {
    const ATL::CComPtr<IDataObject> object = clipboard.contents();
    switch (kind) {
        case Kind::text:
            return pasteText(*object);
        case Kind::code:
            return pasteCode(*object);
        case Kind::rtf:
            return pasteNarrow(*object, FormatRTF::GetClipboardID(), L"rich text");
        case Kind::csv:
            return pasteNarrow(*object, FormatCSV::GetClipboardID(), L"comma-separated values");
        case Kind::xml:
            return pasteXml(*object);
        case Kind::portfolio:
            return pastePortfolio(*object);
    }
}
