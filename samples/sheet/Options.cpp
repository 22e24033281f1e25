#include "samples/sheet/Options.h"

#include <algorithm>
#include <vector>

#include "samples/exchange/Failure.h"

const wchar_t* const kUsage =
    L"usage: sheet write FILE.csv FILE.xml\n"
    L"       sheet read [--strict] FILE.xml\n"
    L"       sheet copy FILE.csv\n"
    L"       sheet paste [--strict]\n"
    L"\n"
    L"Writes and reads workbooks of one sheet, as spreadsheet programs exchange them in files\n"
    L"and over the clipboard (\"XML Spreadsheet 2003\").\n"
    L"\n"
    L"  write  makes a workbook from a CSV file in UTF-8; a cell that begins with = is a formula,\n"
    L"         with its references in R1C1 notation\n"
    L"  read   prints the cells of a workbook and the requests for data that its formulas make\n"
    L"         with the functions QkGet(feed, instrument, field) and QData(instrument, field,\n"
    L"         feed), as UTF-8\n"
    L"  copy   makes the same workbook and copies it to the clipboard\n"
    L"  paste  prints the workbook on the clipboard as read does\n"
    L"\n"
    L"read and paste read a workbook as spreadsheet programs do. With --strict they read it as\n"
    L"the library does by default: docs/workbooks.md compares the two.\n"
    L"\n"
    L"Exit status: 0 done, 1 wrong usage, 2 a file cannot be read or written, or has the wrong\n"
    L"contents, 3 another program keeps the clipboard open, 4 the clipboard holds no workbook,\n"
    L"5 data was refused or cannot be read, for example a formula that is cut off.\n";

namespace {

[[noreturn]] void fail(const std::wstring& message) { throw Failure{kUsageError, message}; }

/// Checks that the command is followed by exactly `count` file names and no options.
void expectFiles(const std::vector<std::wstring>& words, std::size_t count, const wchar_t* what) {
    for (const std::wstring& word : words)
        if (word.starts_with(L"--")) fail(L"unknown option " + word);
    if (words.size() != count + 1) fail(words[0] + L" takes " + what);
    if (std::ranges::any_of(words, [](const auto& word) { return word.empty(); }))
        fail(L"a file needs a name");
}

}  // namespace

Options parseOptions(int argc, wchar_t** argv) {
    std::vector<std::wstring> words(argv + 1, argv + argc);
    if (words.empty()) fail(L"no command is given");

    const std::wstring command = words[0];
    using Reading = OrvexClipboard::FormatXML4Spdsheet::Reading;
    const bool isReading = command == L"read" || command == L"paste";
    const bool isStrict = isReading && std::erase(words, L"--strict") > 0;
    const Reading reading = isStrict ? Reading::strict : Reading::asSpreadsheets;
    if (command == L"write") {
        expectFiles(words, 2, L"a CSV file and the workbook to be written");
        return {Command::write, words[1], words[2], reading};
    }
    if (command == L"read") {
        expectFiles(words, 1, L"a workbook");
        return {Command::read, L"", words[1], reading};
    }
    if (command == L"copy") {
        expectFiles(words, 1, L"a CSV file");
        return {Command::copy, words[1], L"", reading};
    }
    if (command == L"paste") {
        expectFiles(words, 0, L"no arguments");
        return {Command::paste, L"", L"", reading};
    }
    fail(L"\"" + command + L"\" is not a command");
}
