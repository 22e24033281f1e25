#pragma once
/// @file
/// The instrument document: portfolios, instruments with their fields, and a news story, as XML.

#include <windows.h>

#include <msxml2.h>
#include <ole2.h>

#include <memory>
#include <string>

#include "dll/export.h"

namespace OrvexClipboard {

#if defined(_MSC_VER)
#pragma warning(push)
#pragma warning(disable : 4251)  // the record is private: clients never touch it
#endif

/// A document that carries lists of portfolios and instruments and a news story between
/// applications, as an XML document (MSXML 3.0) under the root `TarloData`.
///
/// An object writes one document or reads one, never both: the first put or import decides, and a
/// later start returns the result of the first one. A producer puts its rows and exports them with
/// `exportToXML`, `exportToString` or `ExportData`; a consumer starts with `importFromXML`,
/// `importFromString` or `ImportData` and walks the rows with cursors:
///
///     while (document.getInstrument())
///         while (document.getField()) document.getField_FID(fid);
///
/// It writes
///
///     TarloData Version="1.0"
///         Portfolios   Portfolio*:  PortfolioId Type
///         Instruments  Instrument*: ItemCode [ChainCode] KeyLetter Datafeed
///                                   Parent  (Type Value EmptyRowsBefore EmptyRowsAfter)*
///                                   Fields  Field*: Value FID Name
///         NewsStory    (pNAC Date Time Text)*
///
/// and also reads an instrument's `FreeTexts` with `FreeText*`. It has no getters for a field's
/// value, an instrument's datafeed and chain code, `Parent` and `NewsStory`: these are for other
/// readers of the document.
///
/// Texts may hold any character, markup and line ends included. `exportToXML` keeps the characters
/// that XML forbids (controls other than tab and line ends, U+FFFE, U+FFFF), but every parser
/// refuses the exported text. A text with a NUL or half of a surrogate pair gets no element.
/// Parsers drop a text of white space alone.
///
/// Failures of the document are results: false or 0. If memory runs out, std::bad_alloc or
/// _com_error with E_OUTOFMEMORY is thrown; a value that was read but cannot be cleared throws
/// _com_error with the reason.
///
/// Use an object in one thread at a time, in the apartment of its first use. It takes no lock.
class I18NRESOURCE_API FormatXML {
public:
    FormatXML();
    FormatXML(const FormatXML&) = delete;  // one document per object
    FormatXML& operator=(const FormatXML&) = delete;
    virtual ~FormatXML();

    // The clipboard format

    /// The registered name of the format, "DALVO_XML_FORMAT".
    static const wchar_t* GetClipboardName();
    /// The registered number of the format, which is registered on first use. 0 if the
    /// registration failed; the class then works with the format number 0.
    static unsigned int GetClipboardID();
    /// Tests whether `data` offers the format in a global block.
    /// @return The result of its QueryGetData: S_OK if it does.
    static HRESULT AcceptData(IDataObject& data);

    /// Reads the document of `data` into `document`. If `document` has started already, it is
    /// unchanged, and the result is that of its first start.
    /// @return S_OK; E_FAIL if there is none or it is not well-formed, in which case `document` has
    ///         not started; E_FAIL if the import fails.
    static HRESULT ImportData(IDataObject& data, FormatXML& document);
    /// Reads the document of `data`.
    /// @param[out] document  A new MSXML 3.0 document; the caller owns one reference. Null on
    ///                       failure.
    /// @return S_OK; E_POINTER for a null `document`; E_FAIL for text that is not well-formed;
    ///         otherwise the failure of `data`.
    static HRESULT ImportData(IDataObject& data, IXMLDOMDocument2** document);

    /// Stores a copy of the contents of `document` in `data`, as UTF-8 text ending in NUL.
    /// @return SetData's result; E_FAIL if `document` has no contents.
    static HRESULT ExportData(IDataObject& data, FormatXML& document);
    static HRESULT ExportData(IDataObject& data, IXMLDOMDocument2& document);
    /// Stores XML text, unparsed, up to its terminating NUL.
    /// @return SetData's result; E_POINTER for a null `xml`; E_FAIL if `xml` cannot be converted.
    static HRESULT ExportData(IDataObject& data, wchar_t* xml);

    // Writing. Each function returns whether the element of its name has been added. If the
    // document refuses a value, that value is missing in the element. After an import these
    // functions do nothing and return false.

    bool putPortfolio(const std::wstring& portfolioId, const std::wstring& type);
    /// Adds an instrument. The parents and fields that follow belong to it.
    bool putInstrument(const std::wstring& itemCode, const std::wstring& keyLetter,
                       const std::wstring& datafeed);
    /// The same for one link of a chain. The chain code comes between item code and key letter.
    bool putChainInstrument(const std::wstring& itemCode, const std::wstring& chainCode,
                            const std::wstring& keyLetter, const std::wstring& datafeed);
    /// Adds a group of four elements to the last instrument.
    /// @return false if there is none.
    bool putInstrumentParent(const std::wstring& type, const std::wstring& value,
                             const std::wstring& emptyRowsBefore,
                             const std::wstring& emptyRowsAfter);
    /// Adds a field to the last instrument.
    /// @return false if there is none.
    bool putField(const std::wstring& name, const std::wstring& fieldId, const std::wstring& value);
    /// Adds a group of four elements to the news story of the document.
    bool putNewsStory(const std::wstring& pnac, const std::wstring& date, const std::wstring& time,
                      const std::wstring& text);

    // Reading. A cursor starts before the first node of its list; each call moves it to the next
    // node and returns 1, or 0 at the end. Every child node of a list counts, comments included.
    //
    // A value getter reads the first child of the element of its name under its cursor. It returns
    // false and does not change its argument before the first node, after the last one, and for an
    // element that is missing or empty.

    /// After the last portfolio it stays at the end.
    int getPortfolio();
    bool getPortfolio_PortfolioId(std::wstring& portfolioId);
    bool getPortfolio_Type(std::wstring& type);

    /// After the last instrument it stays at the end. Fields and free texts are those of the
    /// instrument under this cursor. However, if `getField` or `getFreeText` has not reached the
    /// end of its list, it continues in that list first, even after this cursor has moved.
    int getInstrument();
    bool getInstrument_ItemCode(std::wstring& itemCode);
    bool getInstrument_Keyletter(std::wstring& keyLetter);

    /// The call after the end starts with the first field of the instrument that is current then.
    int getField();
    bool getField_Name(std::wstring& name);
    bool getField_FID(std::wstring& fieldId);

    /// Moves to the next free text and reads it. The call after the end starts with the first free
    /// text of the instrument that is current then.
    /// @param[out] text  Without white space at its ends; empty if the result is 0 or the text
    ///                   cannot be read.
    int getFreeText(std::wstring& text);

    // The whole document

    /// Reads a copy of `document`, which keeps its document type. No external definition or entity
    /// is loaded.
    /// @return false if it cannot be copied or its root is not `TarloData`; the result of the first
    ///         start if this is not the first.
    bool importFromXML(IXMLDOMDocument2& document);
    /// The same for XML text. An import of the empty text fails.
    bool importFromString(const std::wstring& xml);

    /// Copies the document that was written or read.
    /// @param[out] document  A new MSXML 3.0 document; the caller owns one reference. Null if the
    ///                       copy fails; untouched if there is nothing to copy.
    bool exportToXML(IXMLDOMDocument2** document);
    /// Stores the XML text of the document that was written or read. MSXML decides its layout.
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
