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
/// Reading: `setReading` for workbooks that other programs wrote, then one of `ImportData`,
/// `importFromXML` and `importFromString`, then `parseFormulas`, then the arrays of records through
/// `listOfFormulaArraysSize` and `listOfFormulaArraysGetAt`. Records come from formulas that call the
/// worksheet functions
///
///     QkGet(feed, instrument, field)        QData(instrument, field, feed)
///
/// whose arguments are quoted texts, empty, or references to other cells in R1C1 notation relative
/// to the formula's own cell, such as RC[-2] or R[-1]C:R[1]C.
///
/// The first start, of either kind, decides: a later start does nothing and returns the result of
/// the first one. A new document needs a new object.
///
/// Not copyable. Use an object in one thread at a time, in the apartment of its first start: it
/// holds documents of that apartment and takes no lock. If memory runs out, `_com_error` with
/// E_OUTOFMEMORY or `std::bad_alloc` is thrown; nothing else is thrown.
class I18NRESOURCE_API FormatXML4Spdsheet {
public:
    /// How a workbook is read. docs/workbooks.md compares the two case by case.
    enum class Reading {
        /// As the applications exchange workbooks: names must have the prefixes that this class
        /// writes, each cell takes up one column, and a formula of another function is rejected
        /// unless a "QkGet" or "QData" precedes it.
        strict,
        /// As spreadsheet programs read the format, for workbooks that they have written: names
        /// are compared by namespace, merged cells and spanned rows take up their places, white
        /// space of values is kept, formulas of other functions are skipped, and references may be
        /// absolute, such as R3C5.
        asSpreadsheets,
    };

    /// A cell of a workbook that is read.
    struct Cell {
        int row = 0;           ///< 0-based.
        int column = 0;        ///< 0-based.
        std::wstring text;     ///< Text of its `Data`; empty if there is none.
        std::wstring formula;  ///< As it is written in the workbook; empty if there is none.
    };

    /// The cells that one argument of a formula refers to, in 0-based indices of the sheet. It
    /// names cells only if both counts are not 0.
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
        /// The function of the last formula: -1 none yet, 0 "QkGet", 1 "QData". Earlier formulas
        /// may call the other function.
        int kind = -1;
        /// By the place in the sheet where the result belongs: row, column, 0-based.
        std::map<std::pair<int, int>, Record> records;
    };

    FormatXML4Spdsheet();
    FormatXML4Spdsheet(const FormatXML4Spdsheet&) = delete;
    FormatXML4Spdsheet& operator=(const FormatXML4Spdsheet&) = delete;
    virtual ~FormatXML4Spdsheet();

    /// @return "XML Spreadsheet".
    static const wchar_t* GetClipboardName();
    /// The registered number of the format, which is registered on first use; 0 if that failed.
    static unsigned int GetClipboardID();
    /// @return S_OK if `data` offers the format in a global block, otherwise the result of its
    ///         `QueryGetData`.
    static HRESULT AcceptData(IDataObject& data);
    /// Reads the workbook that `data` offers as UTF-8 text.
    ///
    /// @return S_OK; E_FAIL if there is none, if it is not a workbook, or if an earlier start of
    ///         `sheet` failed.
    static HRESULT ImportData(IDataObject& data, FormatXML4Spdsheet& sheet);
    /// Stores the workbook as UTF-8 text.
    ///
    /// @return The result of `data`'s `SetData`; E_FAIL if `sheet` has no document.
    static HRESULT ExportData(IDataObject& data, FormatXML4Spdsheet& sheet);

    // Writing. Each function also returns false if a call of the document fails; elements that were
    // added before that stay in the document.

    /// Writes the size of the table as given, without a look at the rows and cells. A later call
    /// replaces the size.
    bool setTableSize(const int& rows, const int& columns);
    /// Goes to the next row. A row without content gets no element.
    bool addRow();
    /// Goes to the next cell of the row and writes it, unless both texts are empty. The value is
    /// always written as a string. False before the first `setTableSize` or `addRow`.
    ///
    /// Compatibility: receivers rely on two peculiarities. If the first content is below row 1, an
    /// empty `Row` precedes its row. The "ss:Index" of a cell is its distance from the last cell
    /// that was written, in whichever row, and is written only if it is more than 1.
    bool addCell(const std::wstring& formula, const std::wstring& value);

    // Export of the document that was written or read

    /// Copies the document.
    ///
    /// @param[out] document  The caller owns one reference. Null on failure, but untouched while
    ///                       there is no document.
    bool exportToXML(IXMLDOMDocument2** document);
    /// Stores the document's XML text in `text`. On failure `text` is untouched.
    bool exportToString(std::wstring& text);

    // Reading. A workbook has an element path Workbook/Worksheet/Table, without prefixes in the strict
    // reading; only the first worksheet is read.

    /// Selects how the workbook is read; `Reading::strict` at first. Call it before the start.
    /// @return false after the start of the object, which keeps its reading then.
    bool setReading(Reading reading);

    /// Reads a copy of `document`, which keeps its document type. Nothing outside it is loaded.
    ///
    /// `Reading::asSpreadsheets` parses the text of `document` instead of copying its nodes, because
    /// the nodes of a document that was built may have no namespace. It keeps the white space that
    /// the document has kept: set `preserveWhiteSpace` before you load it.
    bool importFromXML(IXMLDOMDocument2& document);
    bool importFromString(const std::wstring& xml);

    /// Puts the row cursor on the first row.
    /// @return false if there is none.
    bool firstRow();
    /// Puts the row cursor on the next row; at first, on the first one.
    /// @return false at the end.
    bool nextRow();
    /// Lists the cells that have a text or a formula, in the order of the document. Moves the row
    /// cursor and the position of `parseCells` as a pass does.
    /// @param[out] cells  New contents. Empty on failure.
    /// @return false without a table.
    bool readCells(std::vector<Cell>& cells);
    /// Goes through all rows and cells once, moving the row cursor. Places come from "ss:Index",
    /// which counts from 1 in row and column, or from the row or cell before.
    ///
    /// Pass 0 stores the texts of the cells, where formulas look them up; a cell with an empty text
    /// is stored, one without `Data` is not. Pass 1 collects the records of the formulas in an
    /// array, which is appended to the list at each row with an "ss:Index" and at the end, even if
    /// it is empty. Any other pass parses the formulas and keeps nothing.
    ///
    /// A formula is rejected in these cases:
    /// - It is the first one of an array and names neither "QkGet" nor "QData". A later one without
    ///   these names continues the function of the formula before it. In `Reading::asSpreadsheets`
    ///   a formula without an outermost call of "QkGet" or "QData" is skipped, not rejected.
    /// - No "(" follows the name, or an argument has no end.
    /// - The object's formulas would make more than 1,048,576 requests, or requests of more than
    ///   67,108,864 characters, or the pass would look at more than 16,777,216 cells
    ///   (docs/workbooks.md).
    ///
    /// @return false without a table, and at the first formula that is rejected: the array that was
    ///         being filled is dropped, those before it stay.
    bool parseCells(int pass);
    /// Pass 0, then pass 1 if that succeeded.
    bool parseFormulas();

    // The parts of a formula. `pos` is an offset into `formula`, which may be past its end; it
    // moves past the characters that were read. References are relative to the position of
    // `parseCells`: at first (0, 0), after a pass one row below the last row and one column past
    // its last cell.

    /// Reads the rest of a quoted value, after its opening quote. Quotes cannot be escaped.
    /// @return false if the closing quote is missing; `value` and `pos` are untouched then.
    bool parseValue(const std::wstring& formula, std::wstring& value, unsigned __int64& pos);
    /// Reads a bracketed decimal offset.
    /// @return 0 if there is no "[" at `pos`, or if no "]" follows; then only the "[" is passed.
    int parseIndex(const std::wstring& formula, unsigned __int64& pos);
    /// Reads one corner, such as R[1]C or, in `Reading::asSpreadsheets`, R3C5. Parts that are missing
    /// leave `ref` as it is.
    /// @return true.
    bool parseRef(const std::wstring& formula, Reference& ref, unsigned __int64& pos);
    /// Reads a corner, or two with ":" between them, and moves to the comma (or, if none follows,
    /// the closing parenthesis) that ends the argument. Parts that the first corner does not have
    /// leave `ref` as it is.
    /// @return false if neither follows; `ref` and `pos` are untouched then.
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
    /// `parseArg` into `record.feed`, from which everything up to the first ":" is then removed.
    bool parseFeed(const std::wstring& formula, Record& record, Reference& ref,
                   unsigned __int64& pos);

    // The arrays that pass 1 collected

    /// Appends a copy of `array` to the list.
    void listOfFormulaArraysPush(ArrayOfFormulas& array);
    int listOfFormulaArraysSize() const;
    /// @return The array at `index`, the last one for an index past the end, null for an empty
    ///         list. The object owns it; it is valid until the list changes.
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
