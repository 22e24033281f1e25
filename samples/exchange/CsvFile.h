#pragma once

#include <cstddef>
#include <string>
#include <vector>

/// A file of comma-separated values in UTF-8. Cells may be enclosed in double quotation marks.
/// Inside the quotation marks, commas and line endings are part of the cell, and two consecutive
/// double quotation marks represent one double quotation mark. Lines end in CRLF or LF.
class CsvFile {
public:
    enum class EmptyLines { areIgnored, areRows };

    struct Row {
        std::size_t line;  ///< the one-based number of the line on which the row begins
        std::vector<std::wstring> cells;
    };

    /// @throws Failure with kBadFile if the file cannot be read or parsed. The message for a parse
    ///         error includes the line number.
    explicit CsvFile(const std::wstring& path, EmptyLines emptyLines = EmptyLines::areIgnored);

    const std::wstring& path() const { return m_path; }
    const std::vector<Row>& rows() const { return m_rows; }

    /// Checks that a row contains only characters that XML allows. XML does not allow U+FFFE,
    /// U+FFFF, or control characters other than tabs and line endings. MSXML accepts the forbidden
    /// characters when a document is built, but parsers reject the resulting XML text.
    /// @throws Failure with kBadFile if the row contains a character that XML does not allow.
    void requireXmlCharacters(const Row& row) const;

    /// Throws a Failure with kBadFile. The message includes the file name and the line number.
    [[noreturn]] void fail(std::size_t line, const std::wstring& message) const;

private:
    std::wstring m_path;
    std::vector<Row> m_rows;
};
