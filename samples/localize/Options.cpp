#include "samples/localize/Options.h"

#include <cwchar>

const wchar_t* const kUsage =
    L"usage: localize MODULE [--culture TAG] [--default TAG] [--id N | --all] [--format ARG...]\n"
    L"\n"
    L"Prints strings of MODULE in the culture TAG, as its satellite libraries have them.\n"
    L"\n"
    L"  --culture TAG    the user's culture, for example fr-CA\n"
    L"  --default TAG    the culture to fall back on (en-US unless given)\n"
    L"  --id N           the string N only\n"
    L"  --all            every string (the default)\n"
    L"  --format ARG...  put the ARGs in the places %1, %2 ... of the string; needs --id\n"
    L"\n"
    L"Exit status: 0 shown, 1 the command line makes no sense, 2 a culture tag is refused,\n"
    L"3 the module has no strings, 4 the module has no string of that id.\n";

namespace {

std::optional<unsigned> parseNumber(const wchar_t* text) {
    wchar_t* end = nullptr;
    const unsigned long number = std::wcstoul(text, &end, 10);
    if (*text < L'0' || *text > L'9' || *end != L'\0') return std::nullopt;
    return static_cast<unsigned>(number);
}

}  // namespace

std::optional<Options> parseOptions(int argc, wchar_t** argv, std::wstring& error) {
    Options options;
    for (int i = 1; i < argc; ++i) {
        const std::wstring word = argv[i];
        const bool hasValue = i + 1 < argc;
        if (word == L"--format") {
            options.formatted = true;
            options.inserts.assign(argv + i + 1, argv + argc);
            break;
        }
        if (word == L"--all") continue;
        if (word == L"--culture" && hasValue) {
            options.culture = argv[++i];
        } else if (word == L"--default" && hasValue) {
            options.defaultCulture = argv[++i];
        } else if (word == L"--id" && hasValue) {
            options.id = parseNumber(argv[++i]);
            if (!options.id) {
                error = std::wstring(argv[i]) + L" is not a string id: ids are decimal numbers";
                return std::nullopt;
            }
        } else if (word.starts_with(L"--") || !options.module.empty()) {
            error = L"what is \"" + word + L"\" to mean?";
            return std::nullopt;
        } else {
            options.module = word;
        }
    }
    if (options.module.empty()) {
        error = L"no module is named";
        return std::nullopt;
    }
    if (options.formatted && !options.id) {
        error = L"--format needs the id of one string";
        return std::nullopt;
    }
    return options;
}
