#include "tools/satellites/PoFile.h"

#include <algorithm>
#include <exception>
#include <iterator>
#include <map>
#include <utility>

#include "tools/satellites/Utf8.h"

namespace satellites {

namespace {

/// The escape sequences of the PO format, except octal and hexadecimal escape sequences.
constexpr std::pair<char, char> kEscapes[] = {{'n', '\n'}, {'r', '\r'}, {'t', '\t'},
                                              {'"', '"'},  {'a', '\a'}, {'\\', '\\'},
                                              {'b', '\b'}, {'f', '\f'}, {'v', '\v'}};

/// One line of the file, and the current position in the line.
class Line {
public:
    Line(std::string_view text, unsigned number) : m_text(text), m_number(number) {}

    [[noreturn]] void fail(std::wstring reason) const {
        // The column is in characters, so do not count UTF-8 continuation bytes.
        const auto textBefore = m_text.substr(0, m_at);
        const auto characters = std::count_if(textBefore.begin(), textBefore.end(), [](char byte) {
            return (static_cast<unsigned char>(byte) & 0xC0) != 0x80;
        });
        throw PoSyntaxError{m_number, static_cast<unsigned>(characters) + 1, std::move(reason)};
    }

    unsigned number() const { return m_number; }
    bool atEnd() const { return m_at == m_text.size(); }
    char peek() const { return atEnd() ? '\0' : m_text[m_at]; }
    void skipBlanks() {
        while (!atEnd() && (m_text[m_at] == ' ' || m_text[m_at] == '\t')) ++m_at;
    }
    bool skip(std::string_view expected) {
        if (!m_text.substr(m_at).starts_with(expected)) return false;
        m_at += expected.size();
        return true;
    }
    /// Reads a word that consists of lowercase letters and underscores.
    std::string_view word() {
        const std::size_t start = m_at;
        while (!atEnd() && ((peek() >= 'a' && peek() <= 'z') || peek() == '_')) ++m_at;
        return m_text.substr(start, m_at - start);
    }
    std::string_view rest() const { return m_text.substr(m_at); }

    /// Reads a quoted string. Only spaces and tabs may follow the string on the same line.
    std::string quotedText() {
        skipBlanks();
        if (!skip("\"")) fail(L"a text in quotes is expected");
        std::string text;
        while (!skip("\"")) {
            if (atEnd()) fail(L"the quote at the end of the text is missing");
            if (peek() == '\0') fail(L"a text cannot contain a NUL");
            if (skip("\\")) {
                text += escaped();
            } else {
                text += m_text[m_at++];
            }
        }
        skipBlanks();
        if (!atEnd()) fail(L"nothing may follow the text");
        return text;
    }

private:
    char escaped() {
        for (const auto& [name, character] : kEscapes) {
            if (peek() == name) {
                ++m_at;
                return character;
            }
        }
        if (skip("x")) return number(16, 2);
        if (peek() >= '0' && peek() <= '7') return number(8, 3);
        fail(L"unknown escape sequence");
    }
    char number(int base, int maxDigits) {
        const std::string digits(m_text.substr(m_at, static_cast<std::size_t>(maxDigits)));
        std::size_t used = 0;
        int value = 0;
        try {
            value = std::stoi(digits, &used, base);
        } catch (const std::exception&) {
            used = 0;
        }
        // Strings in a PO file cannot contain a NUL, and a single byte above 0x7F would not be
        // valid UTF-8.
        if (used == 0 || value <= 0 || value > 0x7F) fail(L"the number is not a character");
        m_at += used;
        return static_cast<char>(value);
    }

    std::string_view m_text;
    unsigned m_number;
    std::size_t m_at = 0;
};

/// Reads a PO file line by line and builds its entries.
class PoReader {
public:
    std::vector<PoEntry> read(std::string_view bytes) {
        constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
        if (bytes.starts_with(kByteOrderMark)) bytes.remove_prefix(kByteOrderMark.size());
        for (unsigned number = 1; !bytes.empty(); ++number) {
            const std::size_t end = std::min(bytes.find('\n'), bytes.size());
            std::string_view text = bytes.substr(0, end);
            bytes.remove_prefix(std::min(end + 1, bytes.size()));
            if (text.ends_with('\r')) text.remove_suffix(1);
            checkUtf8(text, number);
            m_last = Line(text, number);
            readLine(m_last);
        }
        finishEntry();
        return std::move(m_entries);
    }

private:
    enum class Part { none, context, text, translation };

    static void checkUtf8(std::string_view text, unsigned number) {
        const std::size_t wrong = firstInvalidUtf8(text);
        if (wrong == std::string_view::npos) return;
        Line line(text, number);
        line.skip(text.substr(0, wrong));
        line.fail(L"the file is not UTF-8");
    }

    void readLine(Line line) {
        line.skipBlanks();
        if (line.atEnd()) return;
        if (line.peek() == '#') return readComment(line);
        if (line.peek() == '"') {
            if (m_part == Part::none) line.fail(L"a text without msgctxt, msgid or msgstr");
            currentPart() += line.quotedText();
            return;
        }
        const std::string_view keyword = Line(line).word();
        if (keyword == "msgctxt") {
            startPart(line, Part::context);
        } else if (keyword == "msgid") {
            startPart(line, Part::text);
        } else if (keyword == "msgstr") {
            startPart(line, Part::translation);
        } else if (keyword == "msgid_plural") {
            line.fail(L"plural forms are not supported: Windows string tables do not have them");
        } else {
            line.fail(L"msgctxt, msgid, msgstr or a comment is expected");
        }
    }

    void readComment(Line line) {
        if (m_part == Part::translation) finishEntry();
        if (line.skip("#~")) {
            m_entry.isFuzzy = false;  // a flag on an earlier line belongs to the obsolete entry
        } else if (line.skip("#,")) {
            std::string_view flags = line.rest();
            while (!flags.empty()) {
                const std::size_t comma = std::min(flags.find(','), flags.size());
                std::string_view flag = flags.substr(0, comma);
                flags.remove_prefix(std::min(comma + 1, flags.size()));
                flag.remove_prefix(std::min(flag.find_first_not_of(" \t"), flag.size()));
                flag = flag.substr(0, flag.find_last_not_of(" \t") + 1);
                if (flag == "fuzzy") m_entry.isFuzzy = true;
            }
        }
    }

    void startPart(Line line, Part part) {
        if (m_part == Part::translation) finishEntry();
        const bool inOrder = part == Part::context ? m_part == Part::none
                             : part == Part::text  ? m_part == Part::none || m_part == Part::context
                                                   : m_part == Part::text;
        if (!inOrder)
            line.fail(L"an entry has msgctxt, msgid and msgstr, each once, in this order");
        if (m_part == Part::none) m_entry.line = line.number();
        line.word();
        if (line.peek() == '[') line.fail(L"plural forms are not supported");
        m_part = part;
        m_hasContext |= part == Part::context;
        currentPart() = line.quotedText();
    }

    std::string& currentPart() { return m_parts[static_cast<int>(m_part)]; }

    void finishEntry() {
        if (m_part == Part::none) return;
        if (m_part != Part::translation) m_last.fail(L"the entry has no msgstr");
        const auto text = [this](Part part) { return wide(m_parts[static_cast<int>(part)]); };
        m_entry.context = text(Part::context);
        m_entry.text = text(Part::text);
        m_entry.translation = text(Part::translation);
        const unsigned line = m_entry.line;
        if (!m_hasContext && m_entry.text.empty()) {
            checkHeader(m_entry);
        } else if (!m_hasContext) {
            throw PoSyntaxError{line, 1,
                                L"the entry has no msgctxt, so the place of the "
                                L"text is unknown"};
        } else {
            const auto [known, isNew] = m_lines.emplace(m_entry.context, line);
            if (!isNew) {
                throw PoSyntaxError{line, 1,
                                    L"a second entry for " + m_entry.context +
                                        L"; the first is in line " +
                                        std::to_wstring(known->second)};
            }
            m_entries.push_back(std::move(m_entry));
        }
        m_entry = {};
        m_hasContext = false;
        m_part = Part::none;
        for (std::string& part : m_parts) part.clear();
    }

    static void checkHeader(const PoEntry& header) {
        constexpr std::wstring_view kField = L"charset=";
        const std::size_t field = header.translation.find(kField);
        if (field == std::wstring::npos) return;
        const std::size_t start = field + kField.size();
        const std::size_t end = header.translation.find_first_of(L" \t\r\n", start);
        std::wstring charset = header.translation.substr(start, end - start);
        std::transform(charset.begin(), charset.end(), charset.begin(), [](wchar_t letter) {
            return letter >= L'a' && letter <= L'z' ? static_cast<wchar_t>(letter - L'a' + L'A')
                                                    : letter;
        });
        if (charset == L"UTF-8" || charset == L"UTF8" || charset == L"ASCII" ||
            charset == L"US-ASCII") {
            return;
        }
        throw PoSyntaxError{header.line, 1,
                            L"the character set " + charset +
                                L" is not supported; convert the file to UTF-8 with \"msgconv -t "
                                L"UTF-8\""};
    }

    std::vector<PoEntry> m_entries;
    std::map<std::wstring, unsigned> m_lines;  // context and line number of each entry
    PoEntry m_entry;
    std::string m_parts[4];  // indexed by Part
    Part m_part = Part::none;
    bool m_hasContext = false;
    Line m_last{{}, 1};
};

std::string quotedLine(std::string_view text) {
    std::string result = "\"";
    for (const char character : text) {
        const auto escape =
            std::find_if(std::begin(kEscapes), std::end(kEscapes),
                         [&](const auto& each) { return each.second == character; });
        if (escape != std::end(kEscapes)) {
            result += '\\';
            result += escape->first;
        } else if (static_cast<unsigned char>(character) < 0x20) {
            constexpr char kDigits[] = "01234567";
            result += {'\\', '0', kDigits[character / 8], kDigits[character % 8]};
        } else {
            result += character;
        }
    }
    return result + "\"\n";
}

/// Writes a keyword and a string. A string with several lines is written as several quoted strings,
/// as the gettext tools do.
void writeText(std::string& out, std::string_view keyword, std::wstring_view wideText) {
    const std::string text = utf8(wideText);
    out += keyword;
    out += ' ';
    if (text.find('\n') >= text.size() - 1) {
        out += quotedLine(text);
        return;
    }
    out += "\"\"\n";
    for (std::string_view rest = text; !rest.empty();) {
        const std::size_t end = std::min(rest.find('\n'), rest.size() - 1) + 1;
        out += quotedLine(rest.substr(0, end));
        rest.remove_prefix(end);
    }
}

/// Writes an entry. Only the header has no msgctxt. In every other entry, msgctxt is written even
/// if it is empty.
void writeEntry(std::string& out, const PoEntry& entry, bool isHeader) {
    for (const std::wstring& comment : entry.comments) out += "#. " + utf8(comment) + "\n";
    if (entry.isFuzzy || entry.isPrintf) {
        out += entry.isFuzzy ? "#, fuzzy" : "#,";
        if (entry.isPrintf) out += entry.isFuzzy ? ", c-format" : " c-format";
        out += "\n";
    }
    if (!isHeader) writeText(out, "msgctxt", entry.context);
    writeText(out, "msgid", entry.text);
    writeText(out, "msgstr", entry.translation);
}

}  // namespace

std::vector<PoEntry> readPo(std::string_view bytes) { return PoReader().read(bytes); }

std::string writePo(const PoEntry& header, const std::vector<PoEntry>& entries) {
    std::string out;
    writeEntry(out, header, true);
    for (const PoEntry& entry : entries) {
        out += "\n";
        writeEntry(out, entry, false);
    }
    return out;
}

}  // namespace satellites
