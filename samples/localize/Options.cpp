#include "samples/localize/Options.h"

#include <algorithm>
#include <cwchar>
#include <iterator>

const wchar_t* const kUsage =
    L"usage: localize MODULE [CULTURES] [--id N | --all] [--format ARG...]\n"
    L"       localize MODULE [CULTURES] --html ID | --xml ID [--node NAME] | --icon ID | --menu "
    L"ID\n"
    L"       localize [CULTURES] --settings\n"
    L"\n"
    L"Shows resources of MODULE in a culture, from its satellites or from MODULE itself.\n"
    L"\n"
    L"  --id N           only the string N\n"
    L"  --all            every string (the default)\n"
    L"  --format ARG...  puts the ARGs in the places of %1, %2 ... in the string; needs --id\n"
    L"  --html ID        an HTML page, byte by byte\n"
    L"  --xml ID         an XML document\n"
    L"  --node NAME      the value of the element NAME in the document, in the culture's language\n"
    L"  --icon ID        size and library of an icon\n"
    L"  --menu ID        the entries of a menu\n"
    L"  --settings       cultures, languages and time zone of this machine\n"
    L"\n"
    L"CULTURES:\n"
    L"  --culture TAG    the user's culture, for example fr-CA\n"
    L"  --default TAG    the default culture (en-US unless given)\n"
    L"\n"
    L"Exit status: 0 shown, 1 wrong usage, 2 a culture tag is refused, 3 the module has no\n"
    L"strings, 4 the module has no such string or resource, 5 memory has run out.\n";

namespace {

struct SubjectOption {
    const wchar_t* name;
    Subject subject;
};
constexpr SubjectOption kSubjectOptions[] = {{L"--id", Subject::kStrings},
                                             {L"--html", Subject::kHtml},
                                             {L"--xml", Subject::kXml},
                                             {L"--icon", Subject::kIcon},
                                             {L"--menu", Subject::kMenu}};

std::optional<unsigned> parseNumber(const wchar_t* text) {
    wchar_t* end = nullptr;
    const unsigned long number = std::wcstoul(text, &end, 10);
    if (*text < L'0' || *text > L'9' || *end != L'\0') return std::nullopt;
    return static_cast<unsigned>(number);
}

/// Returns the error message for an argument that cannot be parsed.
std::wstring argumentError(const std::wstring& word) {
    if (!word.starts_with(L"--"))
        return L"unknown argument " + word + L": only one module can be shown";
    for (const wchar_t* const name : {L"--id", L"--html", L"--xml", L"--icon", L"--menu", L"--node",
                                      L"--culture", L"--default"})
        if (word == name) return word + L" needs a value";
    return L"unknown option " + word;
}

/// Returns the error message for an invalid combination of options, or null if the combination is
/// valid.
const wchar_t* optionsError(const Options& options) {
    if (options.module.empty() && options.subject != Subject::kSettings)
        return L"no module is given";
    if (options.formatted && (options.subject != Subject::kStrings || !options.id))
        return L"--format needs the id of one string";
    if (options.node && options.subject != Subject::kXml) return L"--node needs --xml";
    return nullptr;
}

}  // namespace

std::optional<Options> parseOptions(int argc, wchar_t** argv, std::wstring& error) {
    Options options;
    for (int i = 1; i < argc; ++i) {
        const std::wstring word = argv[i];
        const bool hasValue = i + 1 < argc;
        const auto subject =
            std::find_if(std::begin(kSubjectOptions), std::end(kSubjectOptions),
                         [&word](const auto& option) { return word == option.name; });
        if (word == L"--format") {
            options.formatted = true;
            options.inserts.assign(argv + i + 1, argv + argc);
            break;
        }
        if (word == L"--all") continue;
        if (word == L"--settings") {
            options.subject = Subject::kSettings;
        } else if (subject != std::end(kSubjectOptions) && hasValue) {
            options.subject = subject->subject;
            options.id = parseNumber(argv[++i]);
            if (!options.id) {
                error = std::wstring(argv[i]) + L" is not an id: ids are decimal numbers";
                return std::nullopt;
            }
        } else if (word == L"--node" && hasValue) {
            options.node = argv[++i];
        } else if (word == L"--culture" && hasValue) {
            options.culture = argv[++i];
        } else if (word == L"--default" && hasValue) {
            options.defaultCulture = argv[++i];
        } else if (word.starts_with(L"--") || !options.module.empty()) {
            error = argumentError(word);
            return std::nullopt;
        } else {
            options.module = word;
        }
    }
    if (const wchar_t* const message = optionsError(options)) {
        error = message;
        return std::nullopt;
    }
    return options;
}
