#include "samples/exchange/Listing.h"

#include <utility>
#include <vector>

#include <I18nResource.h>

#include "samples/clipboard_view/ClipboardFormats.h"
#include "samples/clipboard_view/ClipboardPrograms.h"
#include "samples/clipboard_view/Decoding.h"
#include "samples/clipboard_view/Portfolio.h"
#include "samples/clipboard_view/Table.h"
#include "samples/exchange/Console.h"
#include "samples/exchange/Failure.h"
#include "samples/exchange/Json.h"
#include "samples/exchange/Payloads.h"
#include "samples/exchange/Reading.h"

using namespace OrvexClipboard;

namespace {

constexpr std::size_t kMaxPreviewLength = 40;
constexpr wchar_t kUnreadable[] = L"(cannot be read)";

std::wstring preview(const std::wstring& text) {
    if (text.size() <= kMaxPreviewLength) return L"\"" + text + L"\"";
    return L"\"" + text.substr(0, kMaxPreviewLength) + L"...\"";
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

/// Describes an XML document. `Format` is the format class that imports the document.
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
    workbook.setReading(FormatXML4Spdsheet::Reading::asSpreadsheets);
    if (FormatXML4Spdsheet::ImportData(object, workbook) != S_OK) return kUnreadable;
    std::size_t rows = 0;
    while (workbook.nextRow()) ++rows;
    return L"workbook, " + counted(rows, L"row");
}

std::wstring describeInterface(IDataObject&) { return L"an interface, for its own process"; }

using Describe = std::wstring (*)(IDataObject&);

/// Returns the function that describes a format, or null if the format is unknown.
Describe describerOf(unsigned format) {
    const std::pair<unsigned, Describe> known[] = {
        {CF_UNICODETEXT, describeText},
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
    for (const auto& [number, describe] : known)
        if (number == format) return describe;
    return nullptr;
}

/// Returns a summary of the data in `format`, or an empty string if the format is unknown. Sets
/// `isBlocked` if the owner does not deliver the data in time. If `isBlocked` is already set, the
/// function does not read the data.
std::wstring summaryOf(const ClipboardFormat& format, bool& isBlocked) {
    const Describe describe = describerOf(format.number);
    if (!describe) return L"";
    if (isBlocked) return L"(not read)";
    try {
        const ATL::CComPtr<IDataObject> object = objectWith(format.number, bytesOf(format.number));
        return object ? describe(*object) : kUnreadable;
    } catch (const Failure& failure) {
        // Reading other formats would also fail, because the read that is still running keeps the
        // clipboard open.
        isBlocked = failure.status == kNotDelivered;
        return L"(" + failure.message + L")";
    }
}

std::wstring joined(const std::vector<std::wstring>& names) {
    std::wstring text;
    for (const std::wstring& name : names) text += (text.empty() ? L"" : L"+") + name;
    return text;
}

void printTable(const std::vector<ClipboardFormat>& formats) {
    bool isBlocked = false;
    Table table;
    for (const ClipboardFormat& format : formats)
        table.add({std::to_wstring(format.number), format.name,
                   joined(namesOfStorage(format.storage)), summaryOf(format, isBlocked)});
    print(stdout, formats.empty() ? L"the clipboard is empty\n" : table.text());
}

void printJson(const std::vector<ClipboardFormat>& formats) {
    bool isBlocked = false;
    std::vector<std::wstring> objects;
    objects.reserve(formats.size());
    for (const ClipboardFormat& format : formats)
        objects.push_back(L"{\"number\": " + std::to_wstring(format.number) + L", \"name\": " +
                          jsonOf(format.name) + L", \"storage\": " +
                          jsonOf(namesOfStorage(format.storage)) + L", \"summary\": " +
                          jsonOf(summaryOf(format, isBlocked)) + L"}");
    print(stdout, L"{\"owner\": " + jsonOf(clipboardOwner()) + L",\n \"formats\": " +
                      jsonArray(objects) + L"}\n");
}

}  // namespace

void list(bool asJson) {
    const std::vector<ClipboardFormat> formats = formatsOnClipboard();
    asJson ? printJson(formats) : printTable(formats);
}
