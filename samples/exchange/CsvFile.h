#pragma once

#include <cstddef>
#include <string>
#include <vector>

/// A file of comma-separated values in UTF-8. Cells may be enclosed in double quotes. Between the
/// quotes, commas and line endings are part of the cell, and two double quotes represent one double
/// quote. Lines end in CRLF or LF.
class CsvFile {
public:
    enum class EmptyLines { doNotCount, areRows };

    struct Row {
        std::size_t line;  ///< the one-based line number where the row begins
        std::vector<std::wstring> cells;
    };

    /// @throws Failure with kBadFile. The message names the line.
    explicit CsvFile(const std::wstring& path, EmptyLines emptyLines = EmptyLines::doNotCount);

    const std::wstring& path() const { return m_path; }
    const std::vector<Row>& rows() const { return m_rows; }

    /// Rejects a row with control characters. MSXML can write control characters to a document, but
    /// parsers reject the XML text of that document.
    /// @throws Failure with kBadFile if the row contains a control character.
    void rejectControlCharacters(const Row& row) const;

    /// Throws a Failure with kBadFile. The message names the file and the line.
    [[noreturn]] void fail(std::size_t line, const std::wstring& message) const;

private:
    std::wstring m_path;
    std::vector<Row> m_rows;
};
