#pragma once

#include <cstddef>
#include <string>
#include <vector>

/// A file of comma-separated values in UTF-8. Cells may be in double quotes. In quotes, commas and
/// line ends belong to the cell, and a doubled quote is one quote. Lines end in CRLF or LF.
class CsvFile {
public:
    enum class EmptyLines { doNotCount, areRows };

    struct Row {
        std::size_t line;  ///< the line of the file on which the row begins, from 1
        std::vector<std::wstring> cells;
    };

    /// @throws Failure with kBadFile, which names the line.
    explicit CsvFile(const std::wstring& path, EmptyLines emptyLines = EmptyLines::doNotCount);

    const std::wstring& path() const { return m_path; }
    const std::vector<Row>& rows() const { return m_rows; }

    /// Checks for control characters: they may be written into an XML document, but no parser would
    /// read its text.
    /// @throws Failure with kBadFile when the row has one.
    void rejectControlCharacters(const Row& row) const;

    /// Throws the Failure for a line with wrong contents.
    [[noreturn]] void fail(std::size_t line, const std::wstring& message) const;

private:
    std::wstring m_path;
    std::vector<Row> m_rows;
};
