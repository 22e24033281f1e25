#pragma once
/// @file
/// The "XML Spreadsheet" clipboard format, for a workbook with one sheet.

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
#pragma warning(disable : 4251)  // the members are private, so they need no DLL interface
#endif

/// Writes or reads a workbook with one sheet in the Excel 2003 XML format. The registered name of
/// the clipboard format is "XML Spreadsheet".
///
/// To write a workbook, call `addRow` for each row, followed by `addCell` for each cell of that
/// row. If the document must specify the size of its table, also call `setTableSize`. Then export
/// the workbook with `exportToXML`, `exportToString` or `ExportData`.
///
/// To read a workbook, import it with `ImportData`, `importFromXML` or `importFromString`, and call
/// `parseFormulas`. If a spreadsheet program wrote the workbook, call
/// `setReading(Reading::asSpreadsheets)` before the import. `parseFormulas` creates arrays of
/// records. A record is a request for one field of one instrument. To get the arrays, call
/// `listOfFormulaArraysSize` and `listOfFormulaArraysGetAt`. The records are created from formulas
/// that call these worksheet functions:
///
///     QkGet(feed, instrument, field)        QData(instrument, field, feed)
///
/// Each argument is a quoted string, a reference to other cells, or empty. References use R1C1
/// notation, for example RC[-2] or R[-1]C:R[1]C. Offsets in brackets are relative to the cell that
/// contains the formula.
///
/// An object either writes one workbook or reads one. The first call to `setTableSize`, `addRow` or
/// an import function initializes the object and determines whether it writes or reads. Later calls
/// to an import function do nothing. They return true if the initialization succeeded; otherwise
/// false. To write or read another workbook, create another object.
///
/// Use an object on only one thread at a time. Use it only in the apartment in which it was
/// initialized, because its document belongs to that apartment. The object takes no locks. If
/// memory runs out, the functions throw `std::bad_alloc`, or `_com_error` with E_OUTOFMEMORY. They
/// throw no other exceptions.
class I18NRESOURCE_API FormatXML4Spdsheet {
public:
    /// Determines how a workbook is read. docs/workbooks.md compares the two values case by case.
    enum class Reading {
        /// Reads workbooks that were written with this class. Element and attribute names are
        /// compared as written, so they must have exactly the prefixes that this class writes. Each
        /// cell is treated as one column wide, even if it is merged. `parseCells` collects the
        /// records of consecutive formulas in an array. The first of these formulas must contain
        /// "QkGet" or "QData". Otherwise, `parseCells` rejects this formula.
        strict,
        /// Reads workbooks that were written by spreadsheet programs, and interprets them as these
        /// programs do. Names are compared by namespace and local name. A merged cell occupies all
        /// its columns. If a row has an "ss:Span" attribute, the row also occupies rows below it.
        /// The attribute specifies the number of these rows. White space in values is kept.
        /// References may be absolute, such as R3C5. `parseCells` skips a formula that has no
        /// outermost call to "QkGet" or "QData". A call is outermost if it is not in an argument of
        /// another call.
        asSpreadsheets,
    };

    /// A cell that `readCells` returns.
    struct Cell {
        int row = 0;           ///< Zero-based.
        int column = 0;        ///< Zero-based.
        std::wstring text;     ///< Text of the `Data` element; empty if there is no such element.
        std::wstring formula;  ///< As written in the workbook; empty if the cell has no formula.
    };

    /// The cells that one argument of a formula refers to, as zero-based row and column indices. If
    /// `rowCount` or `columnCount` is 0, the argument refers to no cells.
    struct Reference {
        int row = -1;         ///< First row; -1 if the argument has no row part.
        int rowCount = 0;     ///< Number of rows; 0 if the argument has no row part.
        int column = -1;      ///< First column; -1 if the argument has no column part.
        int columnCount = 0;  ///< Number of columns; 0 if the argument has no column part.
    };

    /// A request for one field of one instrument.
    struct Record {
        std::wstring sym;    ///< Instrument code.
        std::wstring feed;   ///< Feed name.
        std::wstring field;  ///< Field name.
    };

    /// The requests that consecutive formulas make.
    struct ArrayOfFormulas {
        /// The function that the last formula calls: 0 for "QkGet", 1 for "QData", -1 if there is
        /// no formula yet. Earlier formulas of the array may call a different function.
        int kind = -1;
        /// The requests. Each key consists of the zero-based row and column indices of the cell to
        /// which the result of the request belongs. If the results of several requests belong to
        /// the same cell, only the first request is stored.
        std::map<std::pair<int, int>, Record> records;
    };

    FormatXML4Spdsheet();
    FormatXML4Spdsheet(const FormatXML4Spdsheet&) = delete;
    FormatXML4Spdsheet& operator=(const FormatXML4Spdsheet&) = delete;
    virtual ~FormatXML4Spdsheet();

    /// Returns the registered name of the format, "XML Spreadsheet".
    static const wchar_t* GetClipboardName();
    /// Returns the identifier of the clipboard format. The format is registered on first use. If
    /// the registration fails, the function returns 0, and the other functions of this class use 0
    /// as the identifier.
    static unsigned int GetClipboardID();
    /// @return S_OK if `data` offers the format in a global memory block; otherwise the result of
    ///         the object's `QueryGetData`.
    static HRESULT AcceptData(IDataObject& data);
    /// Reads the workbook that `data` offers as UTF-8 text. If `sheet` has already been
    /// initialized, it does not change.
    ///
    /// @return S_OK; E_FAIL if `data` has no text in this format, if the text is not a workbook, or
    ///         if an earlier initialization of `sheet` failed. If `data` has no text in this format
    ///         or, with `Reading::strict`, if the text is not well-formed, `sheet` does not change
    ///         and can still be initialized later.
    static HRESULT ImportData(IDataObject& data, FormatXML4Spdsheet& sheet);
    /// Stores the workbook in `data` as UTF-8 text.
    ///
    /// @return E_FAIL if `sheet` has no document or if its document cannot be copied; otherwise see
    ///         `CDataObject::SetXMLAsUTF8Data`.
    static HRESULT ExportData(IDataObject& data, FormatXML4Spdsheet& sheet);

    // Writing. Each function returns false if an MSXML call fails. Elements that were added before
    // the failure stay in the document. After an import, `setTableSize` and `addRow` return false,
    // and `addCell` adds the cell to the row under the row cursor (see `firstRow`). If the cursor
    // has not moved to a row yet, `addCell` adds nothing.

    /// Writes the size of the table. The size is not compared with the rows and cells that are
    /// added. A later call replaces the size.
    bool setTableSize(const int& rows, const int& columns);
    /// Moves to the next row. No element is written for a row without content.
    bool addRow();
    /// Moves to the next cell of the current row. If both arguments are empty, no cell is written.
    /// The value is always written as a string. If no row has been added, the function first adds a
    /// row. The function returns false if the object has not been initialized, if its
    /// initialization failed, or if `value` contains a NUL or an unpaired surrogate.
    ///
    /// Compatibility: receivers rely on the following rules. If the first row with content is below
    /// row 1, an empty `Row` element precedes it. The "ss:Index" attribute of a cell is the
    /// distance in columns from the last cell that was written, even if that cell is in another
    /// row. For the first cell that is written, the distance is measured from column 1. The
    /// attribute is written only if the distance is greater than 1.
    bool addCell(const std::wstring& formula, const std::wstring& value);

    // Export of the document that was written or read

    /// Copies the document.
    ///
    /// @param[out] document  A new MSXML 3.0 document; the caller owns one reference. Null if the
    ///                       copy fails; unchanged if there is no document to copy.
    bool exportToXML(IXMLDOMDocument2** document);
    /// Stores the XML text of the document in `text`. On failure, `text` does not change.
    bool exportToString(std::wstring& text);

    // Reading. The root element must be `Workbook`. It must contain a `Worksheet` element that
    // contains a `Table` element. With `Reading::strict`, the names of these elements must not have
    // prefixes. Only the first worksheet is read.

    /// Selects how the workbook is read. The default is `Reading::strict`. Call this function
    /// before the import.
    /// @return false if the object has already been initialized. In this case, the selection does
    ///         not change.
    bool setReading(Reading reading);

    /// Imports a copy of `document`. The copy keeps the document type declaration, but nothing
    /// outside the document is loaded.
    ///
    /// With `Reading::asSpreadsheets`, the function parses the XML text of `document` instead of
    /// copying its nodes. The parser assigns a namespace even to nodes that a program has added to
    /// `document` without a namespace. White space that was discarded when `document` was loaded is
    /// lost. To keep white space, set the `preserveWhiteSpace` property of `document` before you
    /// load the document.
    /// @return false if `document` cannot be copied or parsed, or if it contains no table. If the
    ///         object has already been initialized, the function returns true if that
    ///         initialization succeeded.
    bool importFromXML(IXMLDOMDocument2& document);
    /// Imports XML text. Nothing outside the text is loaded. The MSXML parser rejects a document
    /// type declaration and elements that are nested more than 256 levels deep. Wine's parser
    /// has different limits. See docs/xml-safety.md.
    /// @return false if `xml` is empty or not well-formed, or if it contains no table. If the
    ///         object has already been initialized, the function returns true if that
    ///         initialization succeeded.
    bool importFromString(const std::wstring& xml);

    /// Moves the row cursor to the first row.
    /// @return false if there is no row.
    bool firstRow();
    /// Moves the row cursor to the next row. The first call after the import moves the cursor to
    /// the first row.
    /// @return false if there is no next row.
    bool nextRow();
    /// Lists the cells that have text or a formula, in document order. Like `parseCells`, the
    /// function moves the row cursor and changes the position to which references in formulas are
    /// relative.
    /// @param[out] cells  The cells that were found; empty on failure. Previous elements are
    ///                    removed.
    /// @return false if there is no table.
    bool readCells(std::vector<Cell>& cells);
    /// Makes one pass over all rows and cells. The pass moves the row cursor. The "ss:Index"
    /// attribute of a row is the one-based row number; the "ss:Index" attribute of a cell is the
    /// one-based column number. A row or cell without this attribute follows the previous row or
    /// cell.
    ///
    /// Pass 0 stores the text of each cell that has a `Data` element, even if the element is empty.
    /// Formulas that refer to such a cell use the stored text. If several cells have the same row
    /// and column, the text of the last cell is stored.
    ///
    /// Pass 1 parses the formulas and collects their records in an array. At each row with an
    /// "ss:Index" attribute, the array is appended to the list of arrays (see
    /// `listOfFormulaArraysGetAt`), and a new array begins. After the last row, the current array
    /// is appended. Empty arrays are appended as well.
    ///
    /// For any other value of `pass`, the function parses the formulas but stores nothing.
    ///
    /// The function rejects a formula in these cases:
    /// - It is the first formula of an array and contains neither "QkGet" nor "QData". A later
    ///   formula that contains neither name is read as a call to the function that the previous
    ///   formula calls. With `Reading::asSpreadsheets`, a formula without an outermost call to
    ///   "QkGet" or "QData" is skipped, not rejected.
    /// - There is no "(" directly after the name of the function, or the end of an argument is
    ///   missing.
    /// - The formulas that the object has parsed would make more than 1,048,576 requests in total.
    /// - The strings of these requests would contain more than 67,108,864 characters in total.
    /// - The pass would take more than 16,777,216 steps. docs/workbooks.md defines the steps.
    ///
    /// @return false if there is no table or if the function rejects a formula. The pass ends at
    ///         the first rejected formula. The array that is being collected is discarded, and the
    ///         arrays that have already been appended stay in the list.
    bool parseCells(int pass);
    /// Runs pass 0 of `parseCells` and, if it succeeds, pass 1. With `Reading::asSpreadsheets`, the
    /// function visits the rows only once. After a rejected formula or an exception, the row cursor
    /// may therefore be at a later row than the formula.
    bool parseFormulas();

    // Functions that parse the parts of a formula. `pos` is an offset into `formula`, in
    // characters, and may be past the end of `formula`. Each function moves `pos` past the
    // characters that it reads. Offsets in references, and the resulting row and column indices,
    // are clamped to the range of int.
    //
    // Offsets in references are relative to the current position of `parseCells` and
    // `parseFormulas`. Initially, this position is row 0, column 0. After a complete pass, it is
    // one row below the last row, and one column past the last cell of the last row. After a pass
    // that ends at a rejected formula, it is the position of the cell with this formula.

    /// Reads a quoted value up to its closing quote. `pos` must be the offset directly after the
    /// opening quote. A quote within the value cannot be escaped.
    /// @return false if the closing quote is missing. In this case, `value` and `pos` are
    ///         unchanged.
    bool parseValue(const std::wstring& formula, std::wstring& value, unsigned __int64& pos);
    /// Reads a decimal offset in brackets, such as [-2].
    /// @return The offset; 0 if there is no "[" at `pos` or if no "]" follows. If only the "]" is
    ///         missing, `pos` moves past the "[".
    int parseIndex(const std::wstring& formula, unsigned __int64& pos);
    /// Reads one corner of a reference, such as R[1]C or, with `Reading::asSpreadsheets`, R3C5. If
    /// the row or column part is missing, the corresponding part of `ref` does not change.
    /// @return Always true.
    bool parseRef(const std::wstring& formula, Reference& ref, unsigned __int64& pos);
    /// Reads a reference: one corner, or two corners with ":" between them. Moves `pos` to the
    /// comma or closing parenthesis that ends the reference. With `Reading::strict`, this is the
    /// next comma or, if no comma follows, the next closing parenthesis. With
    /// `Reading::asSpreadsheets`, a comma or closing parenthesis in quotes, in nested parentheses
    /// or in braces does not end the reference, and `ref` does not change if the argument is not a
    /// reference. In both modes, if the first corner lacks a row or column part, the corresponding
    /// part of `ref` does not change.
    /// @return false if the end of the reference is missing. In this case, `ref` and `pos` are
    ///         unchanged.
    bool parseReference(const std::wstring& formula, Reference& ref, unsigned __int64& pos);
    /// Reads one argument. A quoted argument is stored in `value` and a reference in `ref`. If
    /// `pos` is at a comma, the argument is empty, and `value` and `ref` do not change.
    /// @return false if the closing quote of a quoted argument or the end of a reference is
    ///         missing. In both cases, `value` and `ref` are unchanged. If the closing quote is
    ///         missing, `pos` is directly after the opening quote.
    bool parseArg(const std::wstring& formula, std::wstring& value, Reference& ref,
                  unsigned __int64& pos);
    /// Calls `parseArg`, which stores a quoted argument in `record.sym`.
    bool parseSYM(const std::wstring& formula, Record& record, Reference& ref,
                  unsigned __int64& pos);
    /// Calls `parseArg`, which stores a quoted argument in `record.field`.
    bool parseField(const std::wstring& formula, Record& record, Reference& ref,
                    unsigned __int64& pos);
    /// Calls `parseArg`, which stores a quoted argument in `record.feed`. If the call succeeds, the
    /// first ":" of `record.feed` and everything before it are removed.
    bool parseFeed(const std::wstring& formula, Record& record, Reference& ref,
                   unsigned __int64& pos);

    // The arrays that pass 1 collected

    /// Appends a copy of `array` to the list.
    void listOfFormulaArraysPush(ArrayOfFormulas& array);
    int listOfFormulaArraysSize() const;
    /// @return The array at `index`; the last array if `index` is past the end; null if the list is
    ///         empty. The object owns the array, and the pointer is valid until the list changes.
    const ArrayOfFormulas* listOfFormulaArraysGetAt(unsigned __int64 index) const;

private:
    struct Document;

    bool beginExport();
    bool beginImport(const std::wstring& source, const std::wstring& xml);
    bool appendChildElementNode(ATL::CComPtr<IXMLDOMElement>& parent, const ATL::CComBSTR& name,
                                ATL::CComVariant& value);

    bool locateTable();
    void storeText(IXMLDOMNode& cell);
    bool parseFormulasOfSpreadsheet();
    bool parseFormula(const std::wstring& formula, ArrayOfFormulas& array);
    void closeArray(ArrayOfFormulas& array);
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
