#include "formats/FormatXML.h"

#include "clipboard/CDataObject.h"
#include "dll/atl.h"
#include "formats/DocumentExchange.h"
#include "formats/LazyDocument.h"
#include "formats/RegisteredFormat.h"
#include "i18nstr/i18nstr.h"
#include "platform/Bstr.h"
#include "platform/ComError.h"
#include "platform/Dom.h"
#include "platform/Variant.h"
#include "platform/Wine.h"

namespace OrvexClipboard {

namespace {

namespace dom = platform::dom;
using platform::Bstr;
using platform::Variant;

constinit RegisteredFormat s_format(L"DALVO_XML_FORMAT");

constexpr wchar_t kRoot[] = L"TarloData";
constexpr wchar_t kPortfolios[] = L"Portfolios";
constexpr wchar_t kPortfolio[] = L"Portfolio";
constexpr wchar_t kPortfolioId[] = L"PortfolioId";
constexpr wchar_t kInstruments[] = L"Instruments";
constexpr wchar_t kInstrument[] = L"Instrument";
constexpr wchar_t kItemCode[] = L"ItemCode";
constexpr wchar_t kChainCode[] = L"ChainCode";
constexpr wchar_t kKeyLetter[] = L"KeyLetter";
constexpr wchar_t kDatafeed[] = L"Datafeed";
constexpr wchar_t kParent[] = L"Parent";
constexpr wchar_t kEmptyRowsBefore[] = L"EmptyRowsBefore";
constexpr wchar_t kEmptyRowsAfter[] = L"EmptyRowsAfter";
constexpr wchar_t kFields[] = L"Fields";
constexpr wchar_t kField[] = L"Field";
constexpr wchar_t kFid[] = L"FID";
constexpr wchar_t kName[] = L"Name";
constexpr wchar_t kNewsStory[] = L"NewsStory";
constexpr wchar_t kPnac[] = L"pNAC";
constexpr wchar_t kDate[] = L"Date";
constexpr wchar_t kTime[] = L"Time";
constexpr wchar_t kText[] = L"Text";
constexpr wchar_t kType[] = L"Type";    // child element of `Portfolio` and of `Parent`
constexpr wchar_t kValue[] = L"Value";  // child element of `Field` and of `Parent`

/// A list of nodes, and the node that was fetched last.
struct Cursor {
    ATL::CComPtr<IXMLDOMNodeList> list;
    ATL::CComPtr<IXMLDOMNode> current;
    /// False if advance() must set `list` before it fetches a node. In this case, `current` is
    /// null.
    bool isListSet = false;

    /// Sets `list` to the child nodes of the first child element of `parent` that is named `name`.
    /// `current` does not change.
    /// @return The length of the list; 0 on failure.
    long resetToChildren(IXMLDOMNode* parent, const wchar_t* name) {
        list.Release();
        ATL::CComPtr<IXMLDOMNode> element;
        if (!parent || dom::selectChildElement(*parent, name, element) != S_OK) return 0;
        if (FAILED(element->get_childNodes(&list))) return 0;
        return length();
    }

    long length() const {
        long count = 0;
        return list && SUCCEEDED(list->get_length(&count)) ? count : 0;
    }

    /// Fetches the next node of the list. The list stores its position, so a call does not visit
    /// earlier nodes.
    /// @return false at the end of the list or on failure. In both cases, `current` is null.
    bool next() {
        current.Release();
        if (!list) return false;
        if (list->nextNode(&current) != S_OK) current.Release();
        return current;
    }
};

enum class AtEnd { stay, restart };

// Moves a cursor to the next node of its list and returns false at the end of the list. `reset`
// stores a new list in the cursor and returns the length of the list. The function calls `reset`
// before it fetches the first node. If `atEnd` is AtEnd::restart, the first call after the end of
// the list also calls `reset`.
template <class Reset>
bool advance(Cursor& cursor, AtEnd atEnd, Reset reset) {
    if (!cursor.isListSet && reset() == 0) return false;
    const bool isAtNode = cursor.next();
    if (isAtNode || atEnd == AtEnd::restart) cursor.isListSet = isAtNode;
    return isAtNode;
}

}  // namespace

/// The COM references that a FormatXML object holds. They are released in reverse order of
/// declaration.
struct FormatXML::Record {
    LazyDocument<IXMLDOMDocument2> document;

    // For writing
    ATL::CComPtr<IXMLDOMElement> exportRoot;
    ATL::CComPtr<IXMLDOMElement> portfoliosElement;
    ATL::CComPtr<IXMLDOMElement> instrumentsElement;
    ATL::CComPtr<IXMLDOMElement> newsStoryElement;
    ATL::CComPtr<IXMLDOMElement> fieldsElement;  // `Fields` element of the last instrument
    ATL::CComPtr<IXMLDOMElement> parentElement;  // `Parent` element of the last instrument

    // For reading
    ATL::CComPtr<IXMLDOMNode> importRoot;
    Cursor portfolios;
    Cursor instruments;
    Cursor fields;
    Cursor freeTexts;
    ATL::CComPtr<IXMLDOMNode> newsStory;
};

FormatXML::FormatXML() : m_record(std::make_unique<Record>()) {}

FormatXML::~FormatXML() = default;

// The clipboard format

const wchar_t* FormatXML::GetClipboardName() { return s_format.name(); }

unsigned int FormatXML::GetClipboardID() { return s_format.id(); }

HRESULT FormatXML::AcceptData(IDataObject& data) {
    return CDataObject::AcceptHGLOBALData(data, s_format.id());
}

HRESULT FormatXML::ImportData(IDataObject& data, FormatXML& document) {
    return importDocument(data, s_format.id(), document);
}

HRESULT FormatXML::ImportData(IDataObject& data, IXMLDOMDocument2** document) {
    return CDataObject::QueryXMLAsUTF8Data(data, s_format.id(), document);
}

HRESULT FormatXML::ExportData(IDataObject& data, FormatXML& document) {
    return exportDocument(data, s_format.id(), document);
}

HRESULT FormatXML::ExportData(IDataObject& data, IXMLDOMDocument2& document) {
    return CDataObject::SetXMLAsUTF8Data(data, s_format.id(), document);
}

HRESULT FormatXML::ExportData(IDataObject& data, wchar_t* xml) {
    if (!xml) return E_POINTER;
    std::string utf8;
    if (!i18nstr::wide2UTF8(xml, -1, utf8)) return E_FAIL;
    return CDataObject::SetTextData(data, s_format.id(), utf8.c_str(), -1);
}

// Initialization

bool FormatXML::beginExport() {
    Record& record = *m_record;
    return record.document.startExport([&record] {
        IXMLDOMDocument2& document = *record.document;
        ATL::CComPtr<IXMLDOMElement>& root = record.exportRoot;
        return SUCCEEDED(dom::selectWithXPath(document)) &&
               SUCCEEDED(dom::createElement(document, kRoot, root)) &&
               SUCCEEDED(document.putref_documentElement(root)) &&
               SUCCEEDED(dom::setAttribute(*root, L"Version", Variant(L"1.0"))) &&
               SUCCEEDED(
                   dom::appendElement(document, *root, kPortfolios, record.portfoliosElement)) &&
               SUCCEEDED(
                   dom::appendElement(document, *root, kInstruments, record.instrumentsElement)) &&
               SUCCEEDED(dom::appendElement(document, *root, kNewsStory, record.newsStoryElement));
    });
}

bool FormatXML::beginImport(const std::wstring& source, const std::wstring& text) {
    return m_record->document.startImport(source, text, [this] { return enterImport(); });
}

bool FormatXML::importFromString(const std::wstring& xml) { return beginImport({}, xml); }

bool FormatXML::importFromXML(IXMLDOMDocument2& document) {
    return m_record->document.startImport(document, [this] { return enterImport(); });
}

bool FormatXML::enterImport() {
    return dom::selectSingleNode(*m_record->document, kRoot, m_record->importRoot) == S_OK;
}

// Writing

bool FormatXML::appendChildElementNode(IXMLDOMElement& parent, const wchar_t* name,
                                       const std::wstring& value) {
    return SUCCEEDED(dom::appendTextElement(*m_record->document, parent, name, value));
}

bool FormatXML::putPortfolio(const std::wstring& portfolioId, const std::wstring& type) {
    if (!beginExport() || !m_record->portfoliosElement) return false;

    ATL::CComPtr<IXMLDOMElement> portfolio;
    if (FAILED(dom::appendElement(*m_record->document, *m_record->portfoliosElement, kPortfolio,
                                  portfolio)))
        return false;
    appendChildElementNode(*portfolio, kPortfolioId, portfolioId);
    appendChildElementNode(*portfolio, kType, type);
    return true;
}

bool FormatXML::putInstrument(const std::wstring& itemCode, const std::wstring& keyLetter,
                              const std::wstring& datafeed) {
    return putInstrumentElement(itemCode, nullptr, keyLetter, datafeed);
}

bool FormatXML::putChainInstrument(const std::wstring& itemCode, const std::wstring& chainCode,
                                   const std::wstring& keyLetter, const std::wstring& datafeed) {
    return putInstrumentElement(itemCode, &chainCode, keyLetter, datafeed);
}

bool FormatXML::putInstrumentElement(const std::wstring& itemCode, const std::wstring* chainCode,
                                     const std::wstring& keyLetter, const std::wstring& datafeed) {
    Record& record = *m_record;
    if (!beginExport() || !record.instrumentsElement) return false;

    IXMLDOMDocument2& document = *record.document;
    ATL::CComPtr<IXMLDOMElement> instrument;
    if (FAILED(dom::appendElement(document, *record.instrumentsElement, kInstrument, instrument)))
        return false;
    // Even if a later call fails, fields and parents must no longer be added to the previous
    // instrument.
    record.parentElement.Release();
    record.fieldsElement.Release();

    appendChildElementNode(*instrument, kItemCode, itemCode);
    if (chainCode) appendChildElementNode(*instrument, kChainCode, *chainCode);
    appendChildElementNode(*instrument, kKeyLetter, keyLetter);
    appendChildElementNode(*instrument, kDatafeed, datafeed);
    return SUCCEEDED(dom::appendElement(document, *instrument, kParent, record.parentElement)) &&
           SUCCEEDED(dom::appendElement(document, *instrument, kFields, record.fieldsElement));
}

bool FormatXML::putInstrumentParent(const std::wstring& type, const std::wstring& value,
                                    const std::wstring& emptyRowsBefore,
                                    const std::wstring& emptyRowsAfter) {
    if (!m_record->document.isUsable() || !m_record->parentElement) return false;

    IXMLDOMElement& parent = *m_record->parentElement;
    appendChildElementNode(parent, kType, type);
    appendChildElementNode(parent, kValue, value);
    appendChildElementNode(parent, kEmptyRowsBefore, emptyRowsBefore);
    appendChildElementNode(parent, kEmptyRowsAfter, emptyRowsAfter);
    return true;
}

bool FormatXML::putField(const std::wstring& name, const std::wstring& fieldId,
                         const std::wstring& value) {
    if (!m_record->document.isUsable() || !m_record->fieldsElement) return false;

    ATL::CComPtr<IXMLDOMElement> field;
    if (FAILED(dom::appendElement(*m_record->document, *m_record->fieldsElement, kField, field)))
        return false;
    // Compatibility: the elements are written in the reverse order of the arguments. Programs that
    // read the document rely on this order.
    appendChildElementNode(*field, kValue, value);
    appendChildElementNode(*field, kFid, fieldId);
    appendChildElementNode(*field, kName, name);
    return true;
}

bool FormatXML::putNewsStory(const std::wstring& pnac, const std::wstring& date,
                             const std::wstring& time, const std::wstring& text) {
    if (!beginExport() || !m_record->newsStoryElement) return false;

    IXMLDOMElement& story = *m_record->newsStoryElement;
    appendChildElementNode(story, kPnac, pnac);
    appendChildElementNode(story, kDate, date);
    appendChildElementNode(story, kTime, time);
    appendChildElementNode(story, kText, text);
    return true;
}

// Reading

long FormatXML::resetPortfolios() {
    return m_record->portfolios.resetToChildren(m_record->importRoot, kPortfolios);
}

long FormatXML::resetInstruments() {
    return m_record->instruments.resetToChildren(m_record->importRoot, kInstruments);
}

long FormatXML::resetFields() {
    return m_record->fields.resetToChildren(m_record->instruments.current, kFields);
}

long FormatXML::resetFreeTexts() {
    Cursor& cursor = m_record->freeTexts;
    cursor.list.Release();
    IXMLDOMNode* const instrument = m_record->instruments.current;
    ATL::CComPtr<IXMLDOMNode> freeTexts;
    if (!instrument || dom::selectSingleNode(*instrument, L"./FreeTexts", freeTexts) != S_OK)
        return 0;
    if (FAILED(freeTexts->selectNodes(Bstr(L"./FreeText").get(), &cursor.list))) return 0;
    return cursor.length();
}

// GCOVR_EXCL_START: the library itself does not call this function.
// Finds the news story. The class has no getters for the news story, because only programs that
// read the XML without this class use it.
long FormatXML::resetNews() {
    return m_record->importRoot &&
           dom::selectSingleNode(*m_record->importRoot, kNewsStory, m_record->newsStory) == S_OK;
}
// GCOVR_EXCL_STOP

// The following functions need not test whether the document is usable. If it is not usable, there
// is no import root, so every list is empty and no cursor moves.

int FormatXML::getPortfolio() {
    // Compatibility: like the instrument cursor, the portfolio cursor does not restart after the
    // end of its list. Callers expect every later call to return 0.
    return advance(m_record->portfolios, AtEnd::stay, [this] { return resetPortfolios(); });
}

bool FormatXML::getPortfolio_PortfolioId(std::wstring& portfolioId) {
    return getTextNode(m_record->portfolios.current, kPortfolioId, portfolioId);
}

bool FormatXML::getPortfolio_Type(std::wstring& type) {
    return getTextNode(m_record->portfolios.current, kType, type);
}

int FormatXML::getInstrument() {
    return advance(m_record->instruments, AtEnd::stay, [this] { return resetInstruments(); });
}

bool FormatXML::getInstrument_ItemCode(std::wstring& itemCode) {
    return getTextNode(m_record->instruments.current, kItemCode, itemCode);
}

bool FormatXML::getInstrument_Keyletter(std::wstring& keyLetter) {
    return getTextNode(m_record->instruments.current, kKeyLetter, keyLetter);
}

int FormatXML::getField() {
    // Compatibility: the field cursor moves to the fields of the current instrument only after the
    // end of the previous list. Callers that stop in the middle of a list expect to get the
    // remaining fields of that list first.
    return advance(m_record->fields, AtEnd::restart, [this] { return resetFields(); });
}

bool FormatXML::getField_Name(std::wstring& name) {
    return getTextNode(m_record->fields.current, kName, name);
}

bool FormatXML::getField_FID(std::wstring& fieldId) {
    return getTextNode(m_record->fields.current, kFid, fieldId);
}

int FormatXML::getFreeText(std::wstring& text) {
    text.clear();
    Cursor& cursor = m_record->freeTexts;
    const bool wasListSet = cursor.isListSet;
    if (!advance(cursor, AtEnd::restart, [this] { return resetFreeTexts(); })) return 0;
    Bstr value;
    const HRESULT hr = cursor.current->get_text(value.receive());
    if (hr == E_INVALIDARG) {
        // If the unreadable free text is the first in its list, the next call starts at the
        // beginning of the current instrument's list. Otherwise, the next call continues with the
        // next free text.
        cursor.isListSet = wasListSet;
        cursor.current.Release();
        return 0;
    }
    if (hr == S_OK) text = value.view();
    return 1;
}

bool FormatXML::getTextNode(IXMLDOMNode* node, const wchar_t* name, std::wstring& text) {
    if (!node) return false;
    ATL::CComPtr<IXMLDOMNode> element;
    if (dom::selectChildElement(*node, name, element) != S_OK) return false;
    ATL::CComPtr<IXMLDOMNode> first;
    if (element->get_firstChild(&first) != S_OK || !first) return false;
    Variant value;
    if (platform::wine::readTypedValue(*first, value) != S_OK) return false;

    const bool isText = SUCCEEDED(value.changeToText());
    if (isText) text = value.text();
    const HRESULT cleared = value.clear();
    if (FAILED(cleared)) platform::throwComError(cleared);
    return isText;
}

// The whole document

bool FormatXML::exportToXML(IXMLDOMDocument2** document) {
    return m_record->document.exportTo(document);
}

bool FormatXML::exportToString(std::wstring& xml) { return m_record->document.exportTo(xml); }

// GCOVR_EXCL_START: only debuggers call this function.
// To view a node as XML, call this function in a debugger and inspect `text`.
void FormatXML::dumpToString(IXMLDOMNode& node) {
    ATL::CComPtr<IXMLDOMDocument2> scratch;
    ATL::CComPtr<IXMLDOMNode> copy;  // appending `node` would remove it from its document
    if (FAILED(dom::createDocument(dom::kDocument30, scratch))) return;
    if (FAILED(node.cloneNode(VARIANT_TRUE, &copy)) || !copy) return;
    if (FAILED(scratch->appendChild(copy, nullptr))) return;
    Bstr text;
    dom::readXml(*scratch, text);
}
// GCOVR_EXCL_STOP

}  // namespace OrvexClipboard
