#include "samples/exchange/Options.h"

#include <utility>
#include <vector>

#include "samples/exchange/Failure.h"

const wchar_t* const kUsage =
    L"usage: exchange copy text TEXT\n"
    L"       exchange copy code [--type X] CODE\n"
    L"       exchange copy rtf|csv|xml|portfolio FILE\n"
    L"       exchange paste text|code|rtf|csv|xml|portfolio\n"
    L"       exchange list\n"
    L"\n"
    L"Exchanges data with other programs over the clipboard. What is copied stays there when\n"
    L"exchange has ended. What is pasted is printed as UTF-8.\n"
    L"\n"
    L"  text       plain text\n"
    L"  code       an instrument code with its type character (S unless --type says another)\n"
    L"  rtf        rich text; its plain text is copied beside it\n"
    L"  csv        comma-separated values, as they stand in the file\n"
    L"  xml        an XML document\n"
    L"  portfolio  instruments with their fields; copied from a CSV file in UTF-8 whose header\n"
    L"             names the columns ItemCode, KeyLetter, Datafeed and one column for each\n"
    L"             field, as NAME or, with the field's id, as NAME:ID; a workbook and the text\n"
    L"             of the file are copied beside them\n"
    L"\n"
    L"list shows every format that the clipboard holds, and what is in those that it knows.\n"
    L"\n"
    L"Exit status: 0 done, 1 the command line makes no sense, 2 a file cannot be read or is not\n"
    L"what it should be, 3 another program keeps the clipboard open, 4 the clipboard holds\n"
    L"nothing of the kind, 5 the data was refused.\n";

namespace {

[[noreturn]] void fail(const std::wstring& message) { throw Failure{kUsageError, message}; }

Kind parseKind(const std::wstring& word) {
    static const std::pair<const wchar_t*, Kind> kinds[] = {
        {L"text", Kind::text}, {L"code", Kind::code}, {L"rtf", Kind::rtf},
        {L"csv", Kind::csv},   {L"xml", Kind::xml},   {L"portfolio", Kind::portfolio}};
    for (const auto& [name, kind] : kinds)
        if (word == name) return kind;
    fail(L"\"" + word + L"\" is no kind of data");
}

/// Takes "--type X" off the words of copy code.
void takeType(std::vector<std::wstring>& words, std::wstring& type) {
    if (words.empty() || words[0] != L"--type") return;
    if (words.size() < 2 || words[1].size() != 1) fail(L"--type takes one character");
    type = words[1];
    words.erase(words.begin(), words.begin() + 2);
}

}  // namespace

Options parseOptions(int argc, wchar_t** argv) {
    std::vector<std::wstring> words(argv + 1, argv + argc);
    if (words.empty()) fail(L"what is there to do?");
    const std::wstring verb = words[0];
    words.erase(words.begin());

    Options options;
    if (verb == L"list") {
        if (!words.empty()) fail(L"list takes no arguments");
        return options;
    }
    if (verb != L"copy" && verb != L"paste") fail(L"\"" + verb + L"\" is no command");
    options.verb = verb == L"copy" ? Verb::copy : Verb::paste;

    if (words.empty()) fail(verb + L" needs a kind of data");
    options.kind = parseKind(words[0]);
    words.erase(words.begin());

    if (options.verb == Verb::paste) {
        if (!words.empty()) fail(L"paste takes a kind of data only");
        return options;
    }
    if (options.kind == Kind::code) takeType(words, options.type);
    if (words.size() != 1) fail(L"copy takes one text, code or file (in quotes if it has spaces)");
    if (words[0].empty()) fail(L"there is nothing to copy");
    options.argument = words[0];
    return options;
}
