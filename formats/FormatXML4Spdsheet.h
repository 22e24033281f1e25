#pragma once
/// @file
/// The clipboard format "XML Spreadsheet": a workbook of one sheet.

#include <windows.h>

#include <msxml2.h>
#include <ole2.h>

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "dll/atl.h"
#include "dll/export.h"

namespace OrvexClipboard {

#if defined(_MSC_VER)
#pragma warning(push)
#pragma warning(disable : 4251)  // the members are private: clients never touch them
#endif

/// A workbook of one sheet in the vocabulary of Excel 2003 XML, under the registered clipboard
/// format "XML Spreadsheet". An object either writes one workbook or reads one.
///
/// Writing: `setTableSize` or `addRow` starts the document; then for each row `addRow` and its
/// cells with `addCell`; then `exportToXML`, `exportToString` or `ExportData`.
///
/// Reading: one of `ImportData`, `importFromXML` and `importFromString`, then `parseFormulas`, then
/// the arrays of records through `listOfFormulaArraysSize` and `listOfFormulaArraysGetAt`. The
/// formulas that count call the worksheet functions
///
///     QkGet(feed, instrument, field)        QData(instrument, field, feed)
///
/// whose arguments are quoted texts, empty, or references to other cells in R1C1 notation relative
/// to the formula's own cell, such as RC[-2] or R[-1]C:R[1]C.
///
/// The first start, of either kind, decides: later ones do nothing and answer what the first one
/// answered. There is no way back; a new document needs a new object.
///
/// Not copyable. One thread at a time, in the apartment of the first start: the object holds
/// documents that belong to it, and no lock. Nothing throws but `_com_error` with E_OUTOFMEMORY and
/// `std::bad_alloc`, when memory runs out.
class I18NRESOURCE_API FormatXML4Spdsheet {
public:
    /// What one argument of a formula refers to, in 0-based indices of the sheet. It names cells
    /// only when both counts are not 0.
    struct Reference {
        int row = -1;         ///< First row; -1 when no row was given.
        int rowCount = 0;     ///< 0 when no row was given.
        int column = -1;      ///< First column; -1 when no column was given.
        int columnCount = 0;  ///< 0 when no column was given.
    };

    /// One request.
    struct Record {
        std::wstring sym;    ///< Instrument code.
        std::wstring feed;   ///< Feed name.
        std::wstring field;  ///< Field name.
    };

    /// The requests of consecutive formulas.
    struct ArrayOfFormulas {
        /// -1 none yet, 0 "QkGet", 1 "QData": the function of the last formula, whatever the ones
        /// before it called.
        int kind = -1;
        /// By the place in the sheet where the answer belongs: row, column, 0-based.
        std::map<std::pair<int, int>, Record> records;
    };

    FormatXML4Spdsheet();
    FormatXML4Spdsheet(const FormatXML4Spdsheet&) = delete;
    FormatXML4Spdsheet& operator=(const FormatXML4Spdsheet&) = delete;
    virtual ~FormatXML4Spdsheet();

    /// @return "XML Spreadsheet".
    static const wchar_t* GetClipboardName();
    /// The registered number of the format; registered on first use, 0 when that failed.
    static unsigned int GetClipboardID();
    /// @return S_OK when `data` offers the format in a global block, else its `QueryGetData`
    /// result.
    static HRESULT AcceptData(IDataObject& data);
    /// Reads the workbook that `data` offers as UTF-8 text.
    ///
    /// @return S_OK; E_FAIL when there is none or it is not a workbook, and for an object that was
    ///         started before without success.
    static HRESULT ImportData(IDataObject& data, FormatXML4Spdsheet& sheet);
    /// Stores the workbook as UTF-8 text.
    ///
    /// @return the result of `data`'s `SetData`; E_FAIL when `sheet` has no document.
    static HRESULT ExportData(IDataObject& data, FormatXML4Spdsheet& sheet);

    // Writing. False also when a call of the document fails; what it had already got stays there.

    /// Declares the size of the table, which is written as given, whatever the rows and cells are.
    /// The last call counts.
    bool setTableSize(const int& rows, const int& columns);
    /// Goes to the next row. A row without content leaves no element behind.
    bool addRow();
    /// Goes to the next cell of the row and writes it, unless both texts are empty. The value is
    /// always written as a string. False before the first `setTableSize` or `addRow`.
    ///
    /// Kept as receivers know it: when the first content stands below row 1, an empty `Row` goes
    /// before its row; the "ss:Index" of a cell is its distance from the last cell that was
    /// written, in whichever row that was, and stands there only when it is more than 1.
    bool addCell(const std::wstring& formula, const std::wstring& value);

    // Taking the document out: what was written or read

    /// Hands out a copy of the document.
    ///
    /// @param[out] document  The caller owns one reference. Null on failure, but untouched as long
    ///                       as there is no document.
    bool exportToXML(IXMLDOMDocument2** document);
    /// Gives the document's text. On failure `text` is untouched.
    bool exportToString(std::wstring& text);

    // Reading. A workbook has an element path Workbook/Worksheet/Table without prefixes; the first
    // worksheet counts.

    /// Reads a copy of `document`.
    bool importFromXML(IXMLDOMDocument2& document);
    bool importFromString(const std::wstring& xml);

    /// Puts the row cursor on the first row.
    /// @return false when there is none.
    bool firstRow();
    /// Puts the row cursor on the next row; at first, on the first one.
    /// @return false at the end.
    bool nextRow();
    /// Goes through all rows and cells once, moving the row cursor. Places come from "ss:Index",
    /// which counts from 1 in row and column, or from the row or cell before.
    ///
    /// Pass 0 takes up the texts of the cells, where formulas look them up; a cell whose text is
    /// empty counts, one without `Data` does not. Pass 1 gathers the records of the formulas in an
    /// array, which goes to the end of the list at each row with an "ss:Index" and at the end, even
    /// when it is empty. Any other pass goes through the formulas and keeps nothing.
    ///
    /// @return false without a table, and at the first formula that is rejected: the array that was
    ///         being filled is dropped, those before it stay. Rejected are a formula that names
    ///         neither "QkGet" nor "QData" at the start of an array (later in an array it continues
    ///         the function of the formula before it), a name without "(" after it, an argument
    ///         without its end, and a formula with which the object's formulas would make more
    ///         than 1,048,576 requests or requests of more than 67,108,864 characters, or the pass
    ///         would look at more than 16,777,216 cells (docs/workbooks.md).
    bool parseCells(int pass);
    /// Pass 0, then pass 1 if that succeeded.
    bool parseFormulas();

    // The parts of a formula. `pos` is an offset into `formula`, which may lie behind its end, and
    // moves behind what was read. References are relative to the place that `parseCells` has come
    // to: at first (0, 0), after a pass one row below the last row and behind its last cell.

    /// Reads the rest of a quoted value from behind its opening quote. Quotes cannot be escaped.
    /// @return false when the closing quote is missing; `value` and `pos` are untouched then.
    bool parseValue(const std::wstring& formula, std::wstring& value, unsigned __int64& pos);
    /// Reads a bracketed decimal offset.
    /// @return 0 where no "[" stands, and where no "]" follows; then only the "[" is passed.
    int parseIndex(const std::wstring& formula, unsigned __int64& pos);
    /// Reads one corner, such as R[1]C. Parts that are missing leave `ref` as it is.
    /// @return true.
    bool parseRef(const std::wstring& formula, Reference& ref, unsigned __int64& pos);
    /// Reads a corner, or two with ":" between them, and moves to the comma (or, where none
    /// follows, the closing parenthesis) that ends the argument. Parts that the first corner does
    /// not have leave `ref` as it is.
    /// @return false when neither follows; `ref` and `pos` are untouched then.
    bool parseReference(const std::wstring& formula, Reference& ref, unsigned __int64& pos);
    /// Reads one argument: a quoted one into `value`, a reference into `ref`, an empty one (a comma
    /// follows at once) into neither.
    bool parseArg(const std::wstring& formula, std::wstring& value, Reference& ref,
                  unsigned __int64& pos);
    /// `parseArg` into `record.sym`.
    bool parseSYM(const std::wstring& formula, Record& record, Reference& ref,
                  unsigned __int64& pos);
    /// `parseArg` into `record.field`.
    bool parseField(const std::wstring& formula, Record& record, Reference& ref,
                    unsigned __int64& pos);
    /// `parseArg` into `record.feed`, of which only what follows its first ":" is kept then.
    bool parseFeed(const std::wstring& formula, Record& record, Reference& ref,
                   unsigned __int64& pos);

    // The arrays that pass 1 gathered

    /// Appends a copy of `array` to the list.
    void listOfFormulaArraysPush(ArrayOfFormulas& array);
    int listOfFormulaArraysSize() const;
    /// @return the array at `index`, the last one for an index behind it, null for an empty list.
    ///         It belongs to the object and is good until the list changes.
    const ArrayOfFormulas* listOfFormulaArraysGetAt(unsigned __int64 index) const;

private:
    struct Document;

    bool beginExport();
    bool beginImport(const std::wstring& source, const std::wstring& xml);
    bool appendChildElementNode(ATL::CComPtr<IXMLDOMElement>& parent, const ATL::CComBSTR& name,
                                ATL::CComVariant& value);

    bool locateTable();
    void readCell(IXMLDOMNode& cell);
    bool parseCell(IXMLDOMNode& cell, ArrayOfFormulas& array);
    bool parseQkGet(const std::wstring& formula, unsigned __int64& pos, ArrayOfFormulas& array);
    bool parseQData(const std::wstring& formula, unsigned __int64& pos, ArrayOfFormulas& array);
    bool generateRecords(Reference& symRef, Reference& fieldRef, Reference& feedRef, Record& record,
                         ArrayOfFormulas& array);

    std::unique_ptr<Document> m_document;
    int m_currentRow = 0;
    int m_currentColumn = 0;
    std::vector<ArrayOfFormulas> m_formulaArrays;
    std::map<std::pair<int, int>, std::wstring> m_cellTexts;
};

#if defined(_MSC_VER)
#pragma warning(pop)
#endif

}  // namespace OrvexClipboard
