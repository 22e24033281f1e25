#pragma once

#include <cstddef>
#include <string>
#include <vector>

/// Rows of cells. The columns are aligned if the lines are shown in a monospaced font.
class Table {
public:
    /// Adds a row. Control characters in a cell become spaces, so that each row is one line.
    void add(std::vector<std::wstring> cells);

    std::vector<std::wstring> lines() const;
    /// Returns the lines as one string, in which each line ends in "\n".
    std::wstring text() const;

private:
    std::vector<std::vector<std::wstring>> m_rows;
    std::vector<std::size_t> m_widths;
};
