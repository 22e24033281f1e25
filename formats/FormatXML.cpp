#include "formats/FormatXML.h"

#include "clipboard/CDataObject.h"
#include "dll/atl.h"
#include "formats/DocumentExchange.h"
#include "formats/RegisteredFormat.h"
#include "i18nstr/i18nstr.h"
#include "platform/Bstr.h"
#include "platform/ComError.h"
#include "platform/Dom.h"
#include "platform/UntrustedXml.h"
#include "platform/Variant.h"

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
constexpr wchar_t kType[] = L"Type";    // of a portfolio and of a parent
constexpr wchar_t kValue[] = L"Value";  // of a field and of a parent

/// One list of nodes and the node of it that was fetched last.
struct Cursor {
    ATL::CComPtr<IXMLDOMNodeList> list;
    ATL::CComPtr<IXMLDOMNode> current;

    /// Makes the children of the element `name` under `parent` the list, with the cursor before the
    /// first. `current` stays.
    /// @return their number; 0 on any failure.
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

    /// Fetches the next node of the list, which remembers its place: no step walks the list again.
    /// @return false, with nothing current, at the end and on failure.
    bool next() {
        current.Release();
        if (!list) return false;
        if (list->nextNode(&current) != S_OK) current.Release();
        return current;
    }
};

}  // namespace

/// The references that an object holds. They are released in the reverse of this order.
struct FormatXML::Record {
    ATL::CComPtr<IXMLDOMDocument2> document;

    // Of an export
    ATL::CComPtr<IXMLDOMElement> exportRoot;
    ATL::CComPtr<IXMLDOMElement> portfoliosElement;
    ATL::CComPtr<IXMLDOMElement> instrumentsElement;
    ATL::CComPtr<IXMLDOMElement> newsStoryElement;
    ATL::CComPtr<IXMLDOMElement> fieldsElement;  // of the instrument begun last
    ATL::CComPtr<IXMLDOMElement> parentElement;  // likewise

    // Of an import
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

// Starting

bool FormatXML::beginExport() {
    if (m_began) return m_valid;
    m_began = true;
    m_valid = false;

    Record& record = *m_record;
    if (FAILED(dom::createDocument(dom::kDocument30, record.document)) || !record.document)
        return false;
    IXMLDOMDocument2& document = *record.document;
    if (FAILED(dom::selectWithXPath(document))) return false;
    if (FAILED(dom::createElement(document, kRoot, record.exportRoot))) return false;
    IXMLDOMElement& root = *record.exportRoot;
    if (FAILED(document.putref_documentElement(&root))) return false;
    if (FAILED(dom::setAttribute(root, L"Version", Variant(L"1.0")))) return false;
    if (FAILED(dom::appendElement(document, root, kPortfolios, record.portfoliosElement)))
        return false;
    if (FAILED(dom::appendElement(document, root, kInstruments, record.instrumentsElement)))
        return false;
    if (FAILED(dom::appendElement(document, root, kNewsStory, record.newsStoryElement)))
        return false;
    m_valid = true;
    return true;
}

bool FormatXML::beginImport(const std::wstring& source, const std::wstring& text) {
    if (m_began) return m_valid;
    m_began = true;
    m_valid = false;

    if (source.empty() && text.empty()) return false;
    if (FAILED(platform::createUntrustedDocument(dom::kDocument30, platform::Contents::markup,
                                                 m_record->document)))
        return false;
    bool loaded = false;
    if (source.empty())
        dom::loadText(*m_record->document, text, loaded);
    else
        dom::loadFile(*m_record->document, source, loaded);
    return loaded && enterImport();
}

bool FormatXML::importFromString(const std::wstring& xml) { return beginImport({}, xml); }

bool FormatXML::importFromXML(IXMLDOMDocument2& document) {
    if (m_began) return m_valid;
    m_began = true;
    m_valid = false;

    if (FAILED(platform::createUntrustedDocument(dom::kDocument30, platform::Contents::document,
                                                 m_record->document)))
        return false;
    bool loaded = false;
    dom::loadObject(*m_record->document, document, loaded);
    return loaded && enterImport();
}

bool FormatXML::enterImport() {
    if (dom::selectSingleNode(*m_record->document, kRoot, m_record->importRoot) != S_OK)
        return false;
    m_valid = true;
    m_portfoliosStarted = m_instrumentsStarted = m_fieldsStarted = m_freeTextsStarted = false;
    return true;
}

// Writing

bool FormatXML::appendChildElementNode(IXMLDOMElement& parent, const wchar_t* name,
                                       const std::wstring& value) {
    return SUCCEEDED(dom::appendTextElement(*m_record->document, parent, name, value));
}

bool FormatXML::putPortfolio(const std::wstring& portfolioId, const std::wstring& type) {
    beginExport();
    if (!m_valid || !m_record->portfoliosElement) return false;

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
    beginExport();
    Record& record = *m_record;
    if (!m_valid || !record.instrumentsElement) return false;

    IXMLDOMDocument2& document = *record.document;
    ATL::CComPtr<IXMLDOMElement> instrument;
    if (FAILED(dom::appendElement(document, *record.instrumentsElement, kInstrument, instrument)))
        return false;
    // From here on it is the instrument begun last: nothing may be added to the one before.
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
    if (!m_valid || !m_record->parentElement) return false;

    IXMLDOMElement& parent = *m_record->parentElement;
    appendChildElementNode(parent, kType, type);
    appendChildElementNode(parent, kValue, value);
    appendChildElementNode(parent, kEmptyRowsBefore, emptyRowsBefore);
    appendChildElementNode(parent, kEmptyRowsAfter, emptyRowsAfter);
    return true;
}

bool FormatXML::putField(const std::wstring& name, const std::wstring& fieldId,
                         const std::wstring& value) {
    if (!m_valid || !m_record->fieldsElement) return false;

    ATL::CComPtr<IXMLDOMElement> field;
    if (FAILED(dom::appendElement(*m_record->document, *m_record->fieldsElement, kField, field)))
        return false;
    // kept: the reverse of the arguments' order, which readers of the document rely on.
    appendChildElementNode(*field, kValue, value);
    appendChildElementNode(*field, kFid, fieldId);
    appendChildElementNode(*field, kName, name);
    return true;
}

bool FormatXML::putNewsStory(const std::wstring& pnac, const std::wstring& date,
                             const std::wstring& time, const std::wstring& text) {
    beginExport();
    if (!m_valid || !m_record->newsStoryElement) return false;

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

// GCOVR_EXCL_START: the library itself does not call it
// Finds the story, which other readers of the document read: there are no getters for it.
long FormatXML::resetNews() {
    return m_record->importRoot &&
           dom::selectSingleNode(*m_record->importRoot, kNewsStory, m_record->newsStory) == S_OK;
}
// GCOVR_EXCL_STOP

int FormatXML::getPortfolio() {
    if (!m_valid) return 0;
    if (!m_portfoliosStarted && resetPortfolios() == 0) return 0;
    // kept: the mark stays at the end of the list, so the list is not walked a second time.
    if (!m_record->portfolios.next()) return 0;
    m_portfoliosStarted = true;
    return 1;
}

bool FormatXML::getPortfolio_PortfolioId(std::wstring& portfolioId) {
    return m_valid && m_portfoliosStarted &&
           getTextNode(m_record->portfolios.current, kPortfolioId, portfolioId);
}

bool FormatXML::getPortfolio_Type(std::wstring& type) {
    return m_valid && m_portfoliosStarted && getTextNode(m_record->portfolios.current, kType, type);
}

int FormatXML::getInstrument() {
    if (!m_valid) return 0;
    if (!m_instrumentsStarted && resetInstruments() == 0) return 0;
    if (!m_record->instruments.next()) return 0;  // for good, as with portfolios
    m_instrumentsStarted = true;
    return 1;
}

bool FormatXML::getInstrument_ItemCode(std::wstring& itemCode) {
    return m_valid && m_instrumentsStarted &&
           getTextNode(m_record->instruments.current, kItemCode, itemCode);
}

bool FormatXML::getInstrument_Keyletter(std::wstring& keyLetter) {
    return m_valid && m_instrumentsStarted &&
           getTextNode(m_record->instruments.current, kKeyLetter, keyLetter);
}

int FormatXML::getField() {
    if (!m_valid) return 0;
    // kept: only the end of a list takes this cursor to the current instrument's fields. Callers
    // that stop in the middle of one get its rest first.
    if (!m_fieldsStarted && resetFields() == 0) return 0;
    if (!m_record->fields.next()) {
        m_fieldsStarted = false;
        return 0;
    }
    m_fieldsStarted = true;
    return 1;
}

bool FormatXML::getField_Name(std::wstring& name) {
    return m_valid && m_fieldsStarted && getTextNode(m_record->fields.current, kName, name);
}

bool FormatXML::getField_FID(std::wstring& fieldId) {
    return m_valid && m_fieldsStarted && getTextNode(m_record->fields.current, kFid, fieldId);
}

int FormatXML::getFreeText(std::wstring& text) {
    text.clear();
    if (!m_valid) return 0;
    if (!m_freeTextsStarted && resetFreeTexts() == 0) return 0;
    Cursor& cursor = m_record->freeTexts;
    if (!cursor.next()) {
        m_freeTextsStarted = false;
        return 0;
    }
    Bstr value;
    const HRESULT hr = cursor.current->get_text(value.receive());
    if (hr == E_INVALIDARG) return 0;
    if (hr == S_OK) text = value.view();
    m_freeTextsStarted = true;
    return 1;
}

bool FormatXML::getTextNode(IXMLDOMNode* node, const wchar_t* name, std::wstring& text) {
    if (!node) return false;
    ATL::CComPtr<IXMLDOMNode> element;
    if (dom::selectChildElement(*node, name, element) != S_OK) return false;
    ATL::CComPtr<IXMLDOMNode> first;
    if (element->get_firstChild(&first) != S_OK || !first) return false;
    Variant value;
    if (dom::readTypedValue(*first, value) != S_OK) return false;

    const bool isText = SUCCEEDED(value.changeToText());
    if (isText) text = value.text();
    const HRESULT cleared = value.clear();
    if (FAILED(cleared)) platform::throwComError(cleared);
    return isText;
}

// The whole document

bool FormatXML::exportToXML(IXMLDOMDocument2** document) {
    if (!m_valid || !document) return false;
    *document = nullptr;
    ATL::CComPtr<IXMLDOMDocument2> copy;
    if (FAILED(platform::copyDocument(dom::kDocument30, *m_record->document, copy))) return false;
    *document = copy.Detach();
    return true;
}

bool FormatXML::exportToString(std::wstring& xml) {
    if (!m_valid) return false;
    Bstr text;
    if (FAILED(dom::readXml(*m_record->document, text))) return false;
    xml = text.view();
    return true;
}

// GCOVR_EXCL_START: called by debuggers
// For a look at a node in the debugger: the text shows there, and is then dropped.
void FormatXML::dumpToString(IXMLDOMNode& node) {
    ATL::CComPtr<IXMLDOMDocument2> scratch;
    ATL::CComPtr<IXMLDOMNode> copy;  // the node itself would leave its own document
    if (FAILED(dom::createDocument(dom::kDocument30, scratch))) return;
    if (FAILED(node.cloneNode(VARIANT_TRUE, &copy)) || !copy) return;
    if (FAILED(scratch->appendChild(copy, nullptr))) return;
    Bstr text;
    dom::readXml(*scratch, text);
}
// GCOVR_EXCL_STOP

}  // namespace OrvexClipboard
