#pragma once

#include <cstddef>
#include <string>
#include <vector>

/// A file of comma-separated values in UTF-8. Cells may stand in double quotes, inside which commas
/// and line ends belong to the cell and a doubled quote is one. Lines end in CRLF or LF; empty
/// lines do not count.
class CsvFile {
public:
    struct Row {
        std::size_t line;  ///< the line of the file on which the row begins, from 1
        std::vector<std::wstring> cells;
    };

    /// @throws Failure with kBadFile, which names the line.
    explicit CsvFile(const std::wstring& path);

    const std::wstring& path() const { return m_path; }
    const std::vector<Row>& rows() const { return m_rows; }

    /// Throws the Failure for a line whose content is not what it should be.
    [[noreturn]] void fail(std::size_t line, const std::wstring& message) const;

private:
    std::wstring m_path;
    std::vector<Row> m_rows;
};
