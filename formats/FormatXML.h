#pragma once
/// @file
/// The instrument document: an XML document with portfolios, instruments and a news story.

#include <windows.h>

#include <msxml2.h>
#include <ole2.h>

#include <memory>
#include <string>

#include "dll/export.h"

namespace OrvexClipboard {

#if defined(_MSC_VER)
#pragma warning(push)
#pragma warning(disable : 4251)  // m_record is private, so it needs no DLL interface
#endif

/// Writes or reads an instrument document: an XML document with which applications exchange
/// portfolios, instruments and a news story. The root element of the document is `TarloData`. The
/// class uses MSXML 3.0.
///
/// An object either writes one document or reads one. The first call to `putPortfolio`,
/// `putInstrument`, `putChainInstrument`, `putNewsStory` or an import function initializes the
/// object and determines whether it writes or reads. Later calls to an import function do nothing.
/// They return true if the initialization succeeded; otherwise false.
///
/// To write a document, add the data with the put functions, and export the document with
/// `exportToXML`, `exportToString` or `ExportData`. To read a document, import it with
/// `importFromXML`, `importFromString` or `ImportData`, and move cursors through the lists in the
/// document:
///
///     while (document.getInstrument())
///         while (document.getField()) document.getField_FID(fid);
///
/// The class writes documents with the following structure:
///
///     TarloData Version="1.0"
///         Portfolios   Portfolio*:  PortfolioId Type
///         Instruments  Instrument*: ItemCode [ChainCode] KeyLetter Datafeed
///                                   Parent  (Type Value EmptyRowsBefore EmptyRowsAfter)*
///                                   Fields  Field*: Value FID Name
///         NewsStory    (pNAC Date Time Text)*
///
/// The class also reads, but does not write, the `FreeText` elements in the `FreeTexts` element of
/// an instrument. The class has no getters for the `NewsStory` and `Parent` elements, the
/// `Datafeed` and `ChainCode` elements of an instrument, or the `Value` element of a field. To use
/// these elements, read the XML without this class.
///
/// The arguments of the put functions may contain markup characters, line breaks and characters
/// that XML forbids. The forbidden characters are U+FFFE, U+FFFF, and the control characters below
/// U+0020 other than tab, carriage return and line feed. The document that `exportToXML` returns
/// contains the forbidden characters, but parsers reject the XML text of that document. If an
/// argument contains a NUL or an unpaired surrogate, no element is added for that argument. By
/// default, parsers discard element text that consists only of white space.
///
/// If an MSXML call fails, the functions return false or 0, unless their own comments state
/// otherwise. If memory runs out, they throw std::bad_alloc, or _com_error with E_OUTOFMEMORY. If
/// VariantClear fails for a value that was read, they throw _com_error with the error code from
/// VariantClear.
///
/// Use an object on only one thread at a time, and only in the apartment in which it was first
/// used. The object takes no locks.
class I18NRESOURCE_API FormatXML {
public:
    FormatXML();
    FormatXML(const FormatXML&) = delete;  // each object owns its own document
    FormatXML& operator=(const FormatXML&) = delete;
    virtual ~FormatXML();

    // The clipboard format

    /// Returns the registered name of the format, "DALVO_XML_FORMAT".
    static const wchar_t* GetClipboardName();
    /// Returns the identifier of the clipboard format. The format is registered on first use. If
    /// the registration fails, the function returns 0, and the other functions of this class use 0
    /// as the identifier.
    static unsigned int GetClipboardID();
    /// @return S_OK if `data` offers the format in a global memory block; otherwise the result of
    ///         the object's `QueryGetData`.
    static HRESULT AcceptData(IDataObject& data);

    /// Reads the instrument document in `data` and imports it into `document`. If `document` has
    /// already been initialized, it does not change.
    /// @return S_OK; E_FAIL if `data` contains no well-formed document, if the import fails, or if
    ///         an earlier initialization of `document` failed. If `data` contains no well-formed
    ///         document, `document` does not change and can still be initialized later.
    static HRESULT ImportData(IDataObject& data, FormatXML& document);
    /// Reads the document that `data` contains.
    /// @param[out] document  A new MSXML 3.0 document; the caller owns one reference. Null on
    ///                       failure.
    /// @return S_OK; E_POINTER for a null `document`; E_FAIL if the text is not well-formed;
    ///         otherwise see `CDataObject::QueryXMLAsUTF8Data`.
    static HRESULT ImportData(IDataObject& data, IXMLDOMDocument2** document);

    /// Stores the XML text of `document` in `data`, as UTF-8 with a terminating NUL.
    /// @return E_FAIL if `document` has not been successfully initialized or cannot be copied;
    ///         otherwise see `CDataObject::SetXMLAsUTF8Data`.
    static HRESULT ExportData(IDataObject& data, FormatXML& document);
    static HRESULT ExportData(IDataObject& data, IXMLDOMDocument2& document);
    /// Stores NUL-terminated XML text as UTF-8. The text is not parsed.
    /// @return E_POINTER for a null `xml`; E_FAIL if `xml` cannot be converted to UTF-8; otherwise
    ///         see `CDataObject::SetTextData`.
    static HRESULT ExportData(IDataObject& data, wchar_t* xml);

    // Writing. Each function adds one item, such as a field, with one element for each argument. It
    // returns true if it has added the item, even if it could not add the element for an argument.
    // After an import, these functions do nothing and return false.

    bool putPortfolio(const std::wstring& portfolioId, const std::wstring& type);
    /// Adds an instrument. Until the next instrument is added, `putInstrumentParent` and `putField`
    /// add their data to this instrument. If the function fails, an incomplete instrument may
    /// remain in the document, and later calls to `putInstrumentParent` and `putField` may fail.
    bool putInstrument(const std::wstring& itemCode, const std::wstring& keyLetter,
                       const std::wstring& datafeed);
    /// Adds an instrument that belongs to a chain. The chain code is written between the item code
    /// and the key letter.
    bool putChainInstrument(const std::wstring& itemCode, const std::wstring& chainCode,
                            const std::wstring& keyLetter, const std::wstring& datafeed);
    /// Adds four elements, one for each argument, to the `Parent` element of the instrument that
    /// was added last.
    /// @return false if no instrument has been added.
    bool putInstrumentParent(const std::wstring& type, const std::wstring& value,
                             const std::wstring& emptyRowsBefore,
                             const std::wstring& emptyRowsAfter);
    /// Adds a field to the instrument that was added last.
    /// @return false if no instrument has been added or if the field cannot be added.
    bool putField(const std::wstring& name, const std::wstring& fieldId, const std::wstring& value);
    /// Adds four elements, one for each argument, to the `NewsStory` element of the document.
    bool putNewsStory(const std::wstring& pnac, const std::wstring& date, const std::wstring& time,
                      const std::wstring& text);

    // Reading. A cursor starts before the first node of its list. Each call to a function such as
    // `getField` moves the cursor to the next node and returns 1. At the end of the list, the call
    // returns 0. The lists of portfolios, instruments and fields contain all child nodes of the
    // `Portfolios`, `Instruments` and `Fields` elements, including XML comments.
    //
    // A value getter, such as `getField_Name`, reads the value of a child element of the node under
    // the cursor. For `getField_Name`, this element is the `Name` element of the field. The getter
    // reads only the first child node of the element. If the element is missing or empty, or if the
    // cursor is before the first node or after the last node, the getter returns false and does not
    // change its argument.

    /// Moves to the next portfolio. After the last portfolio, the cursor stays at the end.
    int getPortfolio();
    bool getPortfolio_PortfolioId(std::wstring& portfolioId);
    bool getPortfolio_Type(std::wstring& type);

    /// Moves to the next instrument. After the last instrument, the cursor stays at the end.
    ///
    /// The field cursor and the free text cursor start in the lists of the instrument under the
    /// instrument cursor. Each of these two cursors stays in its list until it reaches the end of
    /// the list, even if the instrument cursor moves to another instrument.
    int getInstrument();
    bool getInstrument_ItemCode(std::wstring& itemCode);
    bool getInstrument_Keyletter(std::wstring& keyLetter);

    /// Moves to the next field. At the end of the list, the function returns 0. The next call moves
    /// to the first field of the current instrument, which is the instrument under the instrument
    /// cursor.
    int getField();
    bool getField_Name(std::wstring& name);
    bool getField_FID(std::wstring& fieldId);

    /// Moves to the next free text and reads it. At the end of the list, the function returns 0.
    /// The next call moves to the first free text of the current instrument.
    /// @param[out] text  The free text, without leading or trailing white space. Empty if the
    ///                   result is 0 or the text cannot be read.
    /// @return 0 at the end of the list or if the node's `get_text` returns E_INVALIDARG; otherwise
    ///         1. If `get_text` returns E_INVALIDARG for the first free text of a list, the next
    ///         call to `getFreeText` moves to the first free text of the current instrument.
    int getFreeText(std::wstring& text);

    // The whole document

    /// Imports a copy of `document`. The copy keeps the document type declaration, but no external
    /// definition or entity is loaded.
    /// @return false if `document` cannot be copied or if its root element is not `TarloData`. If
    ///         the object has already been initialized, the function returns true if that
    ///         initialization succeeded.
    bool importFromXML(IXMLDOMDocument2& document);
    /// Imports XML text. No external definition or entity is loaded. The MSXML parser rejects a
    /// document type declaration and elements that are nested more than 256 levels deep. Wine's
    /// parser has different limits. See docs/xml-safety.md.
    /// @return false if `xml` is empty or not well-formed, or if its root element is not
    ///         `TarloData`. If the object has already been initialized, the function returns true
    ///         if that initialization succeeded.
    bool importFromString(const std::wstring& xml);

    /// Copies the document that was written or read.
    /// @param[out] document  A new MSXML 3.0 document; the caller owns one reference. Null if the
    ///                       copy fails; unchanged if there is no document to copy.
    bool exportToXML(IXMLDOMDocument2** document);
    /// Stores the XML text of the document in `xml`. MSXML determines the line breaks and the
    /// indentation of the text.
    /// @param[out] xml  Unchanged on failure.
    bool exportToString(std::wstring& xml);

private:
    struct Record;

    bool beginExport();
    bool beginImport(const std::wstring& source, const std::wstring& text);
    bool enterImport();

    long resetPortfolios();
    long resetInstruments();
    long resetFields();
    long resetFreeTexts();
    long resetNews();

    bool putInstrumentElement(const std::wstring& itemCode, const std::wstring* chainCode,
                              const std::wstring& keyLetter, const std::wstring& datafeed);
    bool appendChildElementNode(IXMLDOMElement& parent, const wchar_t* name,
                                const std::wstring& value);
    static bool getTextNode(IXMLDOMNode* node, const wchar_t* name, std::wstring& text);
    static void dumpToString(IXMLDOMNode& node);

    std::unique_ptr<Record> m_record;
};

#if defined(_MSC_VER)
#pragma warning(pop)
#endif

}  // namespace OrvexClipboard
