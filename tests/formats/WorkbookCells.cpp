// workbook_cells FILE: prints the cells of a workbook in UTF-8, as Reading::asSpreadsheets reads
// them. Each cell is printed as a line of the form "row<TAB>column<TAB>text<TAB>formula". Row and
// column numbers are one-based. In the text and in the formula, a line feed is written as "\n", a
// tab as "\t", a carriage return as "\r" and a backslash as "\\". Tests of the samples compare the
// lines with the cells that other programs read.
#include <objbase.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "formats/FormatXML4Spdsheet.h"
#include "i18nstr/i18nstr.h"

namespace {

using OrvexClipboard::FormatXML4Spdsheet;

std::string escaped(const std::wstring& text) {
    std::string bytes;
    i18nstr::wide2UTF8(text.c_str(), -1, bytes);
    std::string line;
    for (const char byte : bytes) {
        switch (byte) {
            case '\n':
                line += "\\n";
                break;
            case '\t':
                line += "\\t";
                break;
            case '\r':
                line += "\\r";
                break;
            case '\\':
                line += "\\\\";
                break;
            default:
                line += byte;
        }
    }
    return line;
}

bool printCells(const char* path) {
    std::ifstream file(path, std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(file)), {});
    std::wstring xml;
    i18nstr::UTF82wide(bytes.c_str(), -1, xml);

    FormatXML4Spdsheet sheet;
    std::vector<FormatXML4Spdsheet::Cell> cells;
    if (!sheet.setReading(FormatXML4Spdsheet::Reading::asSpreadsheets) ||
        !sheet.importFromString(xml) || !sheet.readCells(cells))
        return false;
    for (const auto& cell : cells)
        std::printf("%d\t%d\t%s\t%s\n", cell.row + 1, cell.column + 1, escaped(cell.text).c_str(),
                    escaped(cell.formula).c_str());
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2 || FAILED(::CoInitialize(nullptr))) return 1;
    const bool isPrinted = printCells(argv[1]);
    ::CoUninitialize();
    return isPrinted ? 0 : 2;
}
