#pragma once

#include <cstddef>
#include <string>
#include <vector>

/// A file of comma-separated values in UTF-8. Cells may stand in double quotes, inside which commas
/// and line ends belong to the cell and a doubled quote is one. Lines end in CRLF or LF.
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

    /// Controls may be written into an XML document, but no parser would take its text again.
    /// @throws Failure with kBadFile when the row has one.
    void rejectControlCharacters(const Row& row) const;

    /// Throws the Failure for a line whose content is not what it should be.
    [[noreturn]] void fail(std::size_t line, const std::wstring& message) const;

private:
    std::wstring m_path;
    std::vector<Row> m_rows;
};
