#pragma once

#include <cstddef>
#include <string>
#include <vector>

/// A file of comma-separated values in UTF-8. Cells may be in double quotes. Between the quotes,
/// commas and line ends are part of the cell, and two double quotes stand for one. Lines end in
/// CRLF or LF.
class CsvFile {
public:
    enum class EmptyLines { doNotCount, areRows };

    struct Row {
        std::size_t line;  ///< the line where the row begins, counted from 1
        std::vector<std::wstring> cells;
    };

    /// @throws Failure with kBadFile. The message names the line.
    explicit CsvFile(const std::wstring& path, EmptyLines emptyLines = EmptyLines::doNotCount);

    const std::wstring& path() const { return m_path; }
    const std::vector<Row>& rows() const { return m_rows; }

    /// Rejects a row with control characters. MSXML can write them to a document, but no parser
    /// accepts the XML text.
    /// @throws Failure with kBadFile if the row contains a control character.
    void rejectControlCharacters(const Row& row) const;

    /// Throws a Failure with kBadFile. The message names the file and the line.
    [[noreturn]] void fail(std::size_t line, const std::wstring& message) const;

private:
    std::wstring m_path;
    std::vector<Row> m_rows;
};
