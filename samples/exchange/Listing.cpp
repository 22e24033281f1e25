#include "samples/exchange/Listing.h"

#include <iterator>
#include <utility>

#include "samples/exchange/Console.h"
#include "samples/exchange/Failure.h"
#include "samples/exchange/Payloads.h"
#include "samples/exchange/Portfolio.h"
#include "samples/exchange/RtfText.h"
#include "samples/exchange/Table.h"

using namespace OrvexClipboard;

namespace {

constexpr std::size_t kLongestPreview = 40;
constexpr wchar_t kUnreadable[] = L"(cannot be read)";

std::wstring preview(const std::wstring& text) {
    if (text.size() <= kLongestPreview) return L"\"" + text + L"\"";
    return L"\"" + text.substr(0, kLongestPreview) + L"...\"";
}

std::wstring describeText(IDataObject& object) {
    const auto text = plainText(object);
    return text ? preview(*text) : kUnreadable;
}

std::wstring describeNarrowText(IDataObject& object, unsigned int format) {
    const auto text = narrowText(object, format);
    return text ? counted(text->size(), L"character") + L", " + preview(*text) : kUnreadable;
}

std::wstring describeRtf(IDataObject& object) {
    return describeNarrowText(object, FormatRTF::GetClipboardID());
}

std::wstring describeCsv(IDataObject& object) {
    return describeNarrowText(object, FormatCSV::GetClipboardID());
}

std::wstring describeCode(IDataObject& object) {
    std::wstring type, code;
    if (FormatSym::ImportData(object, true, type, code) != S_OK) return kUnreadable;
    return L"code " + code + L" of type " + type;
}

std::wstring describeDocument(HRESULT hr, IXMLDOMDocument2* document) {
    ATL::CComPtr<IXMLDOMElement> root;
    ATL::CComBSTR name;
    if (hr != S_OK || document->get_documentElement(&root) != S_OK ||
        root->get_nodeName(&name) != S_OK)
        return kUnreadable;
    return std::wstring(L"document ") + static_cast<const wchar_t*>(name);
}

/// A document of any class that reads into an MSXML document.
template <class Format>
std::wstring describeDocumentOf(IDataObject& object) {
    ATL::CComPtr<IXMLDOMDocument2> document;
    const HRESULT hr = Format::ImportData(object, &document);
    return describeDocument(hr, document);
}

template <class Format>
std::wstring describeInstruments(IDataObject& object) {
    FormatXML document;
    if (Format::ImportData(object, document) != S_OK) return kUnreadable;
    const Portfolio portfolio = readPortfolio(document);
    return counted(portfolio.names.size(), L"portfolio") + L", " +
           counted(portfolio.instruments.size(), L"instrument");
}

std::wstring describeXml(IDataObject& object) {
    const std::wstring instruments = describeInstruments<FormatXML>(object);
    return instruments == kUnreadable ? describeDocumentOf<FormatXML>(object) : instruments;
}

std::wstring describeWorkbook(IDataObject& object) {
    FormatXML4Spdsheet workbook;
    if (FormatXML4Spdsheet::ImportData(object, workbook) != S_OK) return kUnreadable;
    std::size_t rows = 0;
    while (workbook.nextRow()) ++rows;
    return L"workbook, " + counted(rows, L"row");
}

std::wstring describeInterface(IDataObject&) { return L"an interface, for its own process"; }

/// What can be told of a format.
std::wstring describe(IDataObject& object, CLIPFORMAT format) {
    const struct {
        unsigned int format;
        std::wstring (*describe)(IDataObject&);
    } known[] = {{CF_UNICODETEXT, describeText},
                 {FormatSym::GetClipboardID(), describeCode},
                 {FormatXML::GetClipboardID(), describeXml},
                 {FormatSymFid::GetClipboardID(), describeInstruments<FormatSymFid>},
                 {FormatXML4Spdsheet::GetClipboardID(), describeWorkbook},
                 {FormatRTF::GetClipboardID(), describeRtf},
                 {FormatCSV::GetClipboardID(), describeCsv},
                 {FormatObjectContext::GetClipboardID(), describeDocumentOf<FormatObjectContext>},
                 {FormatObjectArchive::GetClipboardID(), describeDocumentOf<FormatObjectArchive>},
                 {FormatCCFPersistData::GetClipboardID(), describeDocumentOf<FormatCCFPersistData>},
                 {FormatTOMInterface::GetClipboardID(), describeInterface}};
    for (const auto& entry : known)
        if (entry.format == format) return entry.describe(object);
    return L"";
}

std::wstring nameOf(CLIPFORMAT format) {
    static const wchar_t* const predefined[] = {
        L"CF_TEXT",   L"CF_BITMAP",  L"CF_METAFILEPICT", L"CF_SYLK",        L"CF_DIF",
        L"CF_TIFF",   L"CF_OEMTEXT", L"CF_DIB",          L"CF_PALETTE",     L"CF_PENDATA",
        L"CF_RIFF",   L"CF_WAVE",    L"CF_UNICODETEXT",  L"CF_ENHMETAFILE", L"CF_HDROP",
        L"CF_LOCALE", L"CF_DIBV5"};
    if (format >= 1 && format <= std::size(predefined)) return predefined[format - 1];
    wchar_t name[256];
    return ::GetClipboardFormatNameW(format, name, static_cast<int>(std::size(name))) ? name : L"";
}

std::wstring storageOf(DWORD types) {
    static const std::pair<DWORD, const wchar_t*> names[] = {
        {TYMED_HGLOBAL, L"HGLOBAL"},   {TYMED_FILE, L"FILE"}, {TYMED_ISTREAM, L"ISTREAM"},
        {TYMED_ISTORAGE, L"ISTORAGE"}, {TYMED_GDI, L"GDI"},   {TYMED_MFPICT, L"MFPICT"},
        {TYMED_ENHMF, L"ENHMF"}};
    std::wstring storage;
    for (const auto& [type, name] : names)
        if (types & type) storage += (storage.empty() ? L"" : L"+") + std::wstring(name);
    return storage;
}

}  // namespace

void list(Clipboard& clipboard) {
    const ATL::CComPtr<IDataObject> object = clipboard.contents();
    ATL::CComPtr<IEnumFORMATETC> formats;
    if (object->EnumFormatEtc(DATADIR_GET, &formats) != S_OK)
        throw Failure{kRefused, L"the clipboard does not tell its formats"};

    Table table;
    FORMATETC format{};
    bool empty = true;
    while (formats->Next(1, &format, nullptr) == S_OK) {
        ::CoTaskMemFree(format.ptd);
        table.add({std::to_wstring(format.cfFormat), nameOf(format.cfFormat),
                   storageOf(format.tymed), describe(*object, format.cfFormat)});
        empty = false;
    }
    print(stdout, empty ? L"the clipboard is empty\n" : table.text());
}
