#include "samples/clipboard_view/Table.h"

#include <algorithm>
#include <utility>

namespace {

// Counts characters. A surrogate pair counts as one character.
std::size_t characters(const std::wstring& text) {
    return static_cast<std::size_t>(
        std::ranges::count_if(text, [](wchar_t c) { return c < 0xDC00 || c > 0xDFFF; }));
}

}  // namespace

void Table::add(std::vector<std::wstring> cells) {
    m_widths.resize(std::max(m_widths.size(), cells.size()));
    for (std::size_t i = 0; i < cells.size(); ++i) {
        std::ranges::replace_if(
            cells[i], [](wchar_t c) { return c < L' '; }, L' ');
        m_widths[i] = std::max(m_widths[i], characters(cells[i]));
    }
    m_rows.push_back(std::move(cells));
}

std::vector<std::wstring> Table::lines() const {
    std::vector<std::wstring> lines;
    for (const auto& row : m_rows) {
        std::wstring line;
        for (std::size_t i = 0; i < row.size(); ++i)
            line += row[i] + std::wstring(m_widths[i] - characters(row[i]) + 2, L' ');
        line.erase(line.find_last_not_of(L' ') + 1);
        lines.push_back(line);
    }
    return lines;
}

std::wstring Table::text() const {
    std::wstring text;
    for (const std::wstring& line : lines()) text += line + L"\n";
    return text;
}
