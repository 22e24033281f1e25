#include "samples/exchange/CsvFile.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "samples/clipboard_view/TextFile.h"
#include "samples/exchange/Failure.h"

namespace {

/// Splits the text of a file into rows and cells. In UTF-8, the bytes of quotation marks, commas
/// and line endings are not part of any other character, so the text can be split before it is
/// decoded.
class RowReader {
public:
    RowReader(const CsvFile& file, std::string_view rest) : m_file(file), m_rest(rest) {}

    bool atEnd() const { return m_rest.empty(); }

    CsvFile::Row next() {
        CsvFile::Row row{m_line, {}};
        do row.cells.push_back(cell());
        while (take(','));
        if (!atEnd() && !takeLineEnd())
            m_file.fail(m_line, L"a comma must follow the closing quote");
        return row;
    }

private:
    std::wstring cell() {
        const std::size_t line = m_line;
        auto text = decodeUtf8(take('"') ? quoted() : unquoted());
        if (!text) m_file.fail(line, L"is not UTF-8");
        return *std::move(text);
    }

    std::string unquoted() {
        const std::string_view text = m_rest.substr(0, m_rest.find_first_of(",\r\n"));
        if (text.find('"') != text.npos)
            m_file.fail(m_line, L"a quote inside a cell needs quotes around the cell");
        m_rest.remove_prefix(text.size());
        if (m_rest.starts_with('\r') && !m_rest.starts_with("\r\n"))
            m_file.fail(m_line, L"contains a carriage return that does not end a line");
        return std::string(text);
    }

    std::string quoted() {
        const std::size_t opened = m_line;
        std::string text;
        for (;;) {
            if (atEnd()) m_file.fail(opened, L"the closing quote is missing");
            if (take('"') && !m_rest.starts_with('"')) return text;
            if (m_rest.front() == '\n') ++m_line;
            text += m_rest.front();
            m_rest.remove_prefix(1);
        }
    }

    bool take(char c) {
        if (!m_rest.starts_with(c)) return false;
        m_rest.remove_prefix(1);
        return true;
    }

    bool takeLineEnd() {
        if (m_rest.starts_with("\r\n")) m_rest.remove_prefix(1);
        if (!take('\n')) return false;
        ++m_line;
        return true;
    }

    const CsvFile& m_file;
    std::string_view m_rest;
    std::size_t m_line = 1;
};

bool isForbiddenInXml(wchar_t c) {
    return (c < L' ' && c != L'\t' && c != L'\r' && c != L'\n') || c == 0xFFFE || c == 0xFFFF;
}

bool isEmptyLine(const CsvFile::Row& row) { return row.cells.size() == 1 && row.cells[0].empty(); }

}  // namespace

CsvFile::CsvFile(const std::wstring& path, EmptyLines emptyLines) : m_path(path) {
    const std::string bytes = readTextFile(path);
    RowReader reader(*this, bytes);
    while (!reader.atEnd()) {
        Row row = reader.next();
        if (emptyLines == EmptyLines::areRows || !isEmptyLine(row))
            m_rows.push_back(std::move(row));
    }
}

void CsvFile::requireXmlCharacters(const Row& row) const {
    for (const std::wstring& cell : row.cells)
        if (std::ranges::any_of(cell, isForbiddenInXml))
            fail(row.line, L"contains a control character");
}

void CsvFile::fail(std::size_t line, const std::wstring& message) const {
    throw Failure{kBadFile, m_path + L", line " + std::to_wstring(line) + L": " + message};
}
