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
/// An object writes one document or reads one, never both: the first put or import decides, and
/// later starts only repeat how the first one ended. A producer puts its rows and takes the result
/// with `exportToXML`, `exportToString` or `ExportData`; a consumer starts with `importFromXML`,
/// `importFromString` or `ImportData` and walks the rows with cursors:
///
///     while (document.getInstrument())
///         while (document.getField()) document.getField_FID(fid);
///
/// Written are
///
///     TarloData Version="1.0"
///         Portfolios   Portfolio*:  PortfolioId Type
///         Instruments  Instrument*: ItemCode [ChainCode] KeyLetter Datafeed
///                                   Parent  (Type Value EmptyRowsBefore EmptyRowsAfter)*
///                                   Fields  Field*: Value FID Name
///         NewsStory    (pNAC Date Time Text)*
///
/// and read beside these an instrument's `FreeTexts` with `FreeText*`. A field's value, an
/// instrument's datafeed and chain code, `Parent` and `NewsStory` are there for other readers of
/// the document; this class writes them only.
///
/// Texts may hold any character, markup and line ends included. Characters that XML forbids
/// (controls other than tab and line ends, U+FFFE, U+FFFF) are carried by `exportToXML`, but every
/// parser refuses the exported text. What is no text, because it holds a NUL or half of a surrogate
/// pair, gets no element. A text of white space alone is dropped by parsers.
///
/// Failures of the document are results: false or 0. Exhausted memory throws std::bad_alloc or
/// _com_error with E_OUTOFMEMORY; a value that was read but cannot be cleared throws _com_error
/// with the reason.
///
/// Belongs to the apartment in which it is used first, one thread at a time; no locking.
class I18NRESOURCE_API FormatXML {
public:
    FormatXML();
    FormatXML(const FormatXML&) = delete;  // one document per object
    FormatXML& operator=(const FormatXML&) = delete;
    virtual ~FormatXML();

    // The clipboard format

    /// The registered name of the format, "DALVO_XML_FORMAT".
    static const wchar_t* GetClipboardName();
    /// The number under which the system knows the format, registered on first use. 0 when the
    /// system refused; the class then works with the format number 0.
    static unsigned int GetClipboardID();
    /// Whether `data` offers the format in a global block.
    /// @return what its QueryGetData answers: S_OK when it does.
    static HRESULT AcceptData(IDataObject& data);

    /// Reads the document that `data` offers into `document`. One that has begun already stays as
    /// it is and answers how it began.
    /// @return S_OK; E_FAIL when there is none or it is not well-formed, `document` then not having
    ///         begun; E_FAIL when the import fails.
    static HRESULT ImportData(IDataObject& data, FormatXML& document);
    /// Reads the document that `data` offers.
    /// @param[out] document  A new MSXML 3.0 document; the caller owns one reference. Null on
    ///                       failure.
    /// @return S_OK; E_POINTER for a null `document`; E_FAIL for text that is not well-formed; else
    ///         the failure of `data`.
    static HRESULT ImportData(IDataObject& data, IXMLDOMDocument2** document);

    /// Stores a copy of what `document` holds in `data`, as UTF-8 text ending in NUL.
    /// @return what SetData answers; E_FAIL when `document` holds nothing.
    static HRESULT ExportData(IDataObject& data, FormatXML& document);
    static HRESULT ExportData(IDataObject& data, IXMLDOMDocument2& document);
    /// Stores XML text, unparsed, up to its terminating NUL.
    /// @return what SetData answers; E_POINTER for a null `xml`.
    static HRESULT ExportData(IDataObject& data, wchar_t* xml);

    // Writing. Each answers whether the element of its name is in place; a value that the document
    // refuses is then missing in it. Without effect, and false, after an import.

    bool putPortfolio(const std::wstring& portfolioId, const std::wstring& type);
    /// Begins an instrument: the parents and fields that follow belong to it.
    bool putInstrument(const std::wstring& itemCode, const std::wstring& keyLetter,
                       const std::wstring& datafeed);
    /// The same for one link of a chain, whose code stands between item code and key letter.
    bool putChainInstrument(const std::wstring& itemCode, const std::wstring& chainCode,
                            const std::wstring& keyLetter, const std::wstring& datafeed);
    /// Adds a group of four elements to the instrument begun last.
    /// @return false while there is none.
    bool putInstrumentParent(const std::wstring& type, const std::wstring& value,
                             const std::wstring& emptyRowsBefore,
                             const std::wstring& emptyRowsAfter);
    /// Adds a field to the instrument begun last.
    /// @return false while there is none.
    bool putField(const std::wstring& name, const std::wstring& fieldId, const std::wstring& value);
    /// Adds a group of four elements to the one news story.
    bool putNewsStory(const std::wstring& pnac, const std::wstring& date, const std::wstring& time,
                      const std::wstring& text);

    // Reading. A cursor stands before the first node of its list; each call moves it to the next
    // one and answers 1, or 0 at the end. Every child node of a list counts, also a comment.
    //
    // A value getter reads the first child of the element of its name under its cursor. It answers
    // false, and leaves its argument as it was, before the first node, after the last one, and for
    // an element that is missing or empty.

    /// At the end it stays there for good.
    int getPortfolio();
    bool getPortfolio_PortfolioId(std::wstring& portfolioId);
    bool getPortfolio_Type(std::wstring& type);

    /// At the end it stays there for good. Fields and free texts are those of the instrument under
    /// this cursor, except that a list in which `getField` or `getFreeText` stands is walked to its
    /// end first, also when the instrument has changed.
    int getInstrument();
    bool getInstrument_ItemCode(std::wstring& itemCode);
    bool getInstrument_Keyletter(std::wstring& keyLetter);

    /// The call after the end starts with the first field of the then current instrument.
    int getField();
    bool getField_Name(std::wstring& name);
    bool getField_FID(std::wstring& fieldId);

    /// Moves on and reads in one. The call after the end starts with the first free text of the
    /// then current instrument.
    /// @param[out] text  Without white space at its ends; empty on 0 and when it cannot be read.
    int getFreeText(std::wstring& text);

    // The whole document

    /// Copies what `document` holds.
    /// @return false when it cannot be copied or its root is not `TarloData`; what the first start
    ///         answered when this is not the first.
    bool importFromXML(IXMLDOMDocument2& document);
    /// Parses XML text; otherwise as `importFromXML`. An empty text starts too, and fails.
    bool importFromString(const std::wstring& xml);

    /// Copies the document that was written or read.
    /// @param[out] document  A new MSXML 3.0 document; the caller owns one reference. Null when the
    ///                       copy fails; untouched when there is nothing to copy.
    bool exportToXML(IXMLDOMDocument2** document);
    /// Gives the XML text of the document that was written or read. Its layout is the serialiser's.
    /// @param[out] xml  Untouched on failure.
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
