#pragma once

#include <cstddef>
#include <string>
#include <vector>

/// Rows of cells whose columns are aligned in a fixed-width font.
class Table {
public:
    /// Line ends and tabs in a cell become spaces: a row is one line.
    void add(std::vector<std::wstring> cells);

    std::vector<std::wstring> lines() const;
    /// The lines, each with its end.
    std::wstring text() const;

private:
    std::vector<std::vector<std::wstring>> m_rows;
    std::vector<std::size_t> m_widths;
};
