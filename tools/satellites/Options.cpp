#include "tools/satellites/Options.h"

#include <algorithm>
#include <iterator>
#include <string_view>
#include <utility>

namespace satellites {

namespace {

struct CommandInfo {
    Command command;
    const wchar_t* name;
    const wchar_t* files;    ///< The arguments that are not options.
    const wchar_t* options;  ///< The allowed options, each with a space before and after it.
    const wchar_t* usage;
    const wchar_t* summary;
    const wchar_t* details;
};

constexpr CommandInfo kCommands[] = {
    {Command::check, L"check", L"MODULE", L" --culture --path --growth --strict --format ",
     L"check MODULE [--culture TAG]... [--path FOLDER] [--growth PERCENT]\n"
     L"                          [--strict] [--format text|json]",
     L"compares the satellites of a module with the module",
     L"Reports missing, extra and untranslated strings; inserts and conversions that do not match\n"
     L"the module's text; menus, dialogs and accelerator tables with a different structure;\n"
     L"access keys that are missing or used twice; missing resources; and satellites that are\n"
     L"damaged, contain code or have another version.\n\n"
     L"  --culture TAG     checks only the satellite for TAG; may be given several times\n"
     L"  --path FOLDER     looks for satellites in FOLDER, not beside the module\n"
     L"  --growth PERCENT  reports texts that are longer than the module's by more than PERCENT\n"
     L"  --strict          exits with 1 for warnings, too\n"
     L"  --format json     prints one JSON object\n"},
    {Command::exportPo, L"export", L"MODULE", L" --culture --path -o ",
     L"export MODULE [--culture TAG] [--path FOLDER] [-o FILE.po]",
     L"writes the texts of a module to a PO file for translators",
     L"Writes strings, menus and dialogs. Without --culture the file is a template (POT).\n\n"
     L"  --culture TAG  fills in the translations that the satellite for TAG has\n"
     L"  --path FOLDER  looks for the satellite in FOLDER, not beside the module\n"
     L"  -o FILE.po     writes to FILE.po, not to standard output\n"},
    {Command::apply, L"apply", L"MODULE FILE.po", L" --culture --base -o ",
     L"apply MODULE FILE.po --culture TAG [--base SATELLITE.dll] [-o SATELLITE.dll]",
     L"makes a satellite from a PO file",
     L"Needs no compiler. Entries that are fuzzy or not translated are left out. If the\n"
     L"inserts of a translation do not match the module's text, apply writes nothing.\n\n"
     L"  --culture TAG         the culture of the satellite\n"
     L"  --base SATELLITE.dll  copies images, pages and documents from this satellite\n"
     L"  -o SATELLITE.dll      the file to write; <module>_<TAG>.dll beside the module by "
     L"default\n"},
    {Command::pseudo, L"pseudo", L"MODULE", L" --culture --growth -o ",
     L"pseudo MODULE --culture TAG [--growth PERCENT] [-o SATELLITE.dll]",
     L"makes a satellite with altered texts, to test a program",
     L"Shows which texts of a program are not localized, and where longer ones do not fit.\n\n"
     L"  --culture TAG     the culture of the satellite; choose one that you do not ship\n"
     L"  --growth PERCENT  makes the texts longer by PERCENT; 30 by default\n"
     L"  -o SATELLITE.dll  the file to write; <module>_<TAG>.dll beside the module by default\n"},
    {Command::resolve, L"resolve", L"MODULE",
     L" --culture --default --path --path-only --id --format ",
     L"resolve MODULE --culture TAG [--default TAG] [--path PREFIX] [--path-only]\n"
     L"                          [--id N] [--format text|json]",
     L"shows which files the library tries, and which one has a string",
     L"  --culture TAG  the user's culture\n"
     L"  --default TAG  the default culture; en-US by default\n"
     L"  --path PREFIX  the resource path, which is put unchanged before the name of a satellite\n"
     L"  --path-only    leaves out the system's search\n"
     L"  --id N         looks for the string N\n"
     L"  --format json  prints one JSON object\n"}};

constexpr const wchar_t* kExitStatus =
    L"Exit status: 0 success; 1 errors were found (with --strict also warnings), or no library\n"
    L"has the string; 2 wrong usage; 3 a file cannot be read or written, or has the wrong\n"
    L"contents, or memory has run out (then nothing was written).\n";

const CommandInfo& infoOf(const std::wstring& name) {
    const auto found = std::find_if(std::begin(kCommands), std::end(kCommands),
                                    [&](const CommandInfo& each) { return name == each.name; });
    if (found == std::end(kCommands)) throw UsageError{L"unknown command " + name, L""};
    return *found;
}

unsigned numberOf(const std::wstring& option, const std::wstring& text, unsigned greatest,
                  const wchar_t* command) {
    unsigned long long number = 0;
    const bool isNumber = !text.empty() && text.size() <= 10 &&
                          std::all_of(text.begin(), text.end(), [&](wchar_t digit) {
                              number = number * 10 + (digit - L'0');
                              return digit >= L'0' && digit <= L'9';
                          });
    if (!isNumber || number > greatest) {
        throw UsageError{
            option + L" takes a number from 0 to " + std::to_wstring(greatest) + L", not " + text,
            command};
    }
    return static_cast<unsigned>(number);
}

/// Parses the arguments after the command.
class Parser {
public:
    Parser(const CommandInfo& info, const std::vector<std::wstring>& arguments, Options& options)
        : m_info(info), m_arguments(arguments), m_options(options) {}

    void run() {
        std::vector<std::wstring> files;
        for (m_at = 1; m_at < m_arguments.size(); ++m_at) {
            const std::wstring& word = m_arguments[m_at];
            if (word == L"--help") {
                m_options.command = Command::help;
                m_options.topic = m_info.name;
                return;
            }
            if (word.size() > 1 && word.front() == L'-') {
                readOption(word);
            } else {
                files.push_back(word);
            }
        }
        storeFiles(files);
        requireCulture();
    }

private:
    [[noreturn]] void fail(std::wstring reason) const {
        throw UsageError{std::move(reason), m_info.name};
    }

    const std::wstring& value() {
        const std::wstring& option = m_arguments[m_at];
        if (++m_at == m_arguments.size()) fail(option + L" needs a value");
        return m_arguments[m_at];
    }

    void readOption(const std::wstring& option) {
        if (std::wstring_view(m_info.options).find(L" " + option + L" ") ==
            std::wstring_view::npos) {
            fail(L"unknown option " + option);
        }
        if (option == L"--culture") {
            m_options.cultures.push_back(value());
        } else if (option == L"--path") {
            m_options.path = value();
        } else if (option == L"--base") {
            m_options.base = value();
        } else if (option == L"-o") {
            m_options.output = value();
        } else if (option == L"--default") {
            m_options.defaultCulture = value();
        } else if (option == L"--growth") {
            m_options.growth = numberOf(option, value(), 1000, m_info.name);
        } else if (option == L"--id") {
            m_options.id = numberOf(option, value(), 0xFFFFFFFF, m_info.name);
        } else if (option == L"--strict") {
            m_options.isStrict = true;
        } else if (option == L"--path-only") {
            m_options.pathOnly = true;
        } else {
            const std::wstring& format = value();
            if (format != L"text" && format != L"json") {
                fail(L"--format takes text or json, not " + format);
            }
            m_options.asJson = format == L"json";
        }
    }

    void storeFiles(const std::vector<std::wstring>& files) {
        const std::size_t expected = m_info.command == Command::apply ? 2 : 1;
        if (files.size() != expected) {
            fail(std::wstring(m_info.name) + L" takes " + m_info.files + L"; " +
                 std::to_wstring(files.size()) + L" given");
        }
        m_options.module = files[0];
        if (expected == 2) m_options.poFile = files[1];
    }

    void requireCulture() const {
        const bool allowsSeveralCultures = m_info.command == Command::check;
        const bool requiresCulture = !allowsSeveralCultures && m_info.command != Command::exportPo;
        if (requiresCulture && m_options.cultures.empty()) {
            fail(std::wstring(m_info.name) + L" needs --culture TAG");
        }
        if (!allowsSeveralCultures && m_options.cultures.size() > 1)
            fail(L"--culture was given twice");
        for (const std::wstring& tag : m_options.cultures) requireTag(tag);
        if (m_options.defaultCulture) requireTag(*m_options.defaultCulture);
    }

    /// Accepts only letters, digits and "-", because a tag becomes part of a file name.
    void requireTag(const std::wstring& tag) const {
        const bool isTag = !tag.empty() && std::all_of(tag.begin(), tag.end(), [](wchar_t each) {
            return each == L'-' || (each >= L'0' && each <= L'9') ||
                   (each >= L'a' && each <= L'z') || (each >= L'A' && each <= L'Z');
        });
        if (!isTag)
            fail(L"a culture consists of letters, digits and \"-\", as in fr-CA, not " + tag);
    }

    const CommandInfo& m_info;
    const std::vector<std::wstring>& m_arguments;
    Options& m_options;
    std::size_t m_at = 1;
};

}  // namespace

Options parseOptions(const std::vector<std::wstring>& arguments) {
    Options options;
    if (arguments.empty()) throw UsageError{L"no command is given", L""};
    const std::wstring& first = arguments[0];
    if (first == L"--version") {
        options.command = Command::version;
    } else if (first == L"help" || first == L"--help") {
        if (arguments.size() > 1) options.topic = infoOf(arguments[1]).name;
    } else {
        const CommandInfo& info = infoOf(first);
        options.command = info.command;
        Parser(info, arguments, options).run();
    }
    return options;
}

std::wstring helpOn(const std::wstring& topic) {
    std::wstring text;
    if (!topic.empty()) {
        const CommandInfo& info = infoOf(topic);
        return std::wstring(L"usage: i18nres-satellites ") + info.usage + L"\n\n" + info.name +
               L" " + info.summary + L".\n\n" + info.details + L"\n" + kExitStatus;
    }
    text =
        L"usage: i18nres-satellites COMMAND ...\n\n"
        L"Makes and checks the satellite libraries of a module: the files charts_<TAG>.dll that\n"
        L"hold the translations of charts.dll.\n\n";
    for (const CommandInfo& info : kCommands) {
        std::wstring name = info.name;
        name.resize(9, L' ');
        text += L"  " + name + info.summary + L"\n";
    }
    for (const CommandInfo& info : kCommands) {
        text += std::wstring(&info == kCommands ? L"\n" : L"") + L"  i18nres-satellites " +
                info.usage + L"\n";
    }
    return text +
           L"  i18nres-satellites help [COMMAND]\n"
           L"  i18nres-satellites --help | --version\n\n" +
           kExitStatus;
}

}  // namespace satellites
