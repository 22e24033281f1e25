#include "samples/exchange/Options.h"

#include <utility>
#include <vector>

#include "samples/exchange/Failure.h"

const wchar_t* const kUsage =
    L"usage: exchange copy text TEXT\n"
    L"       exchange copy code [--type X] CODE\n"
    L"       exchange copy rtf|csv|xml|portfolio FILE\n"
    L"       exchange paste text|code|rtf|csv|xml|portfolio\n"
    L"       exchange list [--json]\n"
    L"       exchange show [--all] [--json] FORMAT\n"
    L"       exchange save FORMAT FILE\n"
    L"       exchange watch\n"
    L"\n"
    L"Exchanges data with other programs over the clipboard. Copied data stays there after\n"
    L"exchange has ended. Pasted data is printed as UTF-8.\n"
    L"\n"
    L"  text       plain text\n"
    L"  code       an instrument code with its type character (S unless --type is given)\n"
    L"  rtf        rich text; its plain text is copied beside it\n"
    L"  csv        comma-separated values, unchanged from the file\n"
    L"  xml        an XML document\n"
    L"  portfolio  instruments with their fields; copied from a CSV file in UTF-8 whose header\n"
    L"             names the columns ItemCode, KeyLetter, Datafeed and one column for each\n"
    L"             field, as NAME or, with the field's id, as NAME:ID; a workbook and the text\n"
    L"             of the file are copied beside them\n"
    L"\n"
    L"Four commands show the clipboard and never change it:\n"
    L"\n"
    L"  list   prints each format with its number, its storage and a summary of known contents\n"
    L"  show   prints a format, given by name or number: text, instruments and cells as a table,\n"
    L"         documents indented, everything else as bytes; 24 lines unless --all is given\n"
    L"  save   writes the bytes of a format to a file\n"
    L"  watch  prints time, owner and formats at each change, until Ctrl+C\n"
    L"\n"
    L"--json prints JSON (docs/clipboard-inspector.md). The program that owns the clipboard is\n"
    L"named on standard error. If another program has the clipboard open, exchange tries again\n"
    L"for 500 ms. It waits at most 5 seconds for another program to deliver a format.\n"
    L"\n"
    L"Exit status: 0 done, 1 wrong usage, 2 a file cannot be read or written, or has the wrong\n"
    L"contents, 3 another program keeps the clipboard open, 4 the clipboard does not have the\n"
    L"requested data, 5 data was refused or cannot be read, 6 a program does not deliver data.\n";

namespace {

[[noreturn]] void fail(const std::wstring& message) { throw Failure{kUsageError, message}; }

Kind parseKind(const std::wstring& word) {
    static const std::pair<const wchar_t*, Kind> kinds[] = {
        {L"text", Kind::text}, {L"code", Kind::code}, {L"rtf", Kind::rtf},
        {L"csv", Kind::csv},   {L"xml", Kind::xml},   {L"portfolio", Kind::portfolio}};
    for (const auto& [name, kind] : kinds)
        if (word == name) return kind;
    fail(L"\"" + word + L"\" is not a kind of data");
}

/// Removes the "--type X" option from the arguments of "copy code", and stores X in `type`.
void removeTypeOption(std::vector<std::wstring>& words, std::wstring& type) {
    if (words.empty() || words[0] != L"--type") return;
    if (words.size() < 2 || words[1].size() != 1) fail(L"--type takes one character");
    type = words[1];
    words.erase(words.begin(), words.begin() + 2);
}

Command parseCommand(const std::wstring& word) {
    static const std::pair<const wchar_t*, Command> commands[] = {
        {L"copy", Command::copy}, {L"paste", Command::paste}, {L"list", Command::list},
        {L"show", Command::show}, {L"save", Command::save},   {L"watch", Command::watch}};
    for (const auto& [name, command] : commands)
        if (word == name) return command;
    fail(L"\"" + word + L"\" is not a command");
}

/// Parses the words after "copy" or "paste".
void parseCopyOrPaste(std::vector<std::wstring> words, Options& options) {
    const bool isCopy = options.command == Command::copy;
    if (words.empty()) fail(std::wstring(isCopy ? L"copy" : L"paste") + L" needs a kind of data");
    options.kind = parseKind(words[0]);
    words.erase(words.begin());
    if (!isCopy) {
        if (!words.empty()) fail(L"paste takes only a kind of data");
        return;
    }
    if (options.kind == Kind::code) removeTypeOption(words, options.type);
    if (words.size() > 1 && words[0].starts_with(L"--")) fail(L"unknown option " + words[0]);
    if (words.size() != 1) fail(L"copy takes one text, code or file (in quotes if it has spaces)");
    if (words[0].empty()) fail(L"there is nothing to copy");
    options.argument = words[0];
}

/// Parses the words after "list", "show", "save" or "watch".
void parseInspection(const std::vector<std::wstring>& words, Options& options) {
    const bool isShow = options.command == Command::show, isSave = options.command == Command::save;
    std::vector<std::wstring> arguments;
    for (const std::wstring& word : words) {
        if (word == L"--json" && (isShow || options.command == Command::list)) {
            options.json = true;
        } else if (word == L"--all" && isShow) {
            options.all = true;
        } else if (word.starts_with(L"--")) {
            fail(L"unknown option " + word);
        } else {
            arguments.push_back(word);
        }
    }
    if (isShow && arguments.size() != 1) fail(L"show takes the name or number of a format");
    if (isSave && arguments.size() != 2) fail(L"save takes a format and the file to be written");
    if (!isShow && !isSave && !arguments.empty()) fail(L"list and watch take no arguments");
    if (isShow || isSave) options.format = arguments[0];
    if (isSave) options.argument = arguments[1];
}

}  // namespace

Options parseOptions(int argc, wchar_t** argv) {
    std::vector<std::wstring> words(argv + 1, argv + argc);
    if (words.empty()) fail(L"no command is given");
    Options options;
    options.command = parseCommand(words[0]);
    words.erase(words.begin());
    if (options.command == Command::copy || options.command == Command::paste)
        parseCopyOrPaste(words, options);
    else
        parseInspection(words, options);
    return options;
}
