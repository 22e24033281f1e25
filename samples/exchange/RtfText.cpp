#include "samples/exchange/RtfText.h"

#include <windows.h>

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <vector>

namespace {

/// RTF groups that begin with one of these control words do not contain body text.
constexpr std::string_view kHiddenDestinations[] = {
    "fonttbl", "colortbl", "stylesheet", "info",    "pict",    "object",  "header",  "headerl",
    "headerr", "headerf",  "footer",     "footerl", "footerr", "footerf", "footnote"};

struct Symbol {
    std::string_view word;
    const wchar_t* text;
};
constexpr Symbol kSymbols[] = {
    {"par", L"\r\n"},      {"line", L"\r\n"},        {"tab", L"\t"},
    {"cell", L"\t"},       {"row", L"\r\n"},         {"emdash", L"\u2014"},
    {"endash", L"\u2013"}, {"bullet", L"\u2022"},    {"lquote", L"\u2018"},
    {"rquote", L"\u2019"}, {"ldblquote", L"\u201C"}, {"rdblquote", L"\u201D"}};

bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool isDigit(char c) { return c >= '0' && c <= '9'; }

class Reader {
public:
    explicit Reader(std::string_view rtf) : m_rest(rtf) {}

    std::wstring read() {
        while (!m_rest.empty()) {
            const char c = take();
            if (c == '{') {
                m_remainingFallback = 0;
                m_groups.push_back(m_groups.back());
            } else if (c == '}') {
                m_remainingFallback = 0;
                if (m_groups.size() > 1) m_groups.pop_back();
            } else if (c == '\\') {
                readControl();
            } else if (c != '\r' && c != '\n') {
                putByte(c);
            }
        }
        flushBytes();
        return m_text;
    }

private:
    struct Group {
        bool hidden = false;
        int fallbackLength = 1;  ///< number of characters to skip after a \u control word
    };

    char take() {
        const char c = m_rest.front();
        m_rest.remove_prefix(1);
        return c;
    }

    void readControl() {
        if (m_rest.empty()) return;
        if (!isLetter(m_rest.front())) return readControlSymbol(take());
        const auto wordEnd = std::ranges::find_if_not(m_rest, isLetter);
        const std::string word(m_rest.begin(), wordEnd);
        m_rest.remove_prefix(word.size());
        const auto numberBegin = m_rest.begin() + (m_rest.starts_with('-') ? 1 : 0);
        const auto numberEnd = std::find_if_not(numberBegin, m_rest.end(), isDigit);
        const std::string number(m_rest.begin(), numberEnd);
        m_rest.remove_prefix(number.size());
        if (m_rest.starts_with(' ')) m_rest.remove_prefix(1);
        readControlWord(word, std::atoi(number.c_str()));
    }

    void readControlSymbol(char symbol) {
        if (symbol == '\'') {
            const std::string digits(m_rest.substr(0, 2));
            m_rest.remove_prefix(digits.size());
            putByte(static_cast<char>(std::strtol(digits.c_str(), nullptr, 16)));
        } else if (symbol == '*') {
            m_groups.back().hidden = true;
        } else if (symbol == '~') {
            putText(L"\u00A0");
        } else if (symbol == '_') {
            putText(L"\u2011");
        } else if (symbol == '\r' || symbol == '\n') {
            putText(L"\r\n");
        } else if (symbol == '\\' || symbol == '{' || symbol == '}') {
            putByte(symbol);
        }
    }

    void readControlWord(std::string_view word, int number) {
        if (word == "u") {
            putText(std::wstring(1, static_cast<wchar_t>(number)));
            m_remainingFallback = m_groups.back().fallbackLength;
        } else if (word == "uc") {
            m_groups.back().fallbackLength = number;
        } else if (word == "ansicpg") {
            m_codePage = static_cast<UINT>(number);
        } else if (word == "bin") {
            m_rest.remove_prefix(
                std::min(m_rest.size(), static_cast<std::size_t>(std::max(number, 0))));
        } else if (std::ranges::find(kHiddenDestinations, word) != std::end(kHiddenDestinations)) {
            m_groups.back().hidden = true;
        } else {
            const auto symbol = std::ranges::find(kSymbols, word, &Symbol::word);
            if (symbol != std::end(kSymbols)) putText(symbol->text);
        }
    }

    void putText(const std::wstring& text) {
        flushBytes();
        m_remainingFallback = 0;
        if (!m_groups.back().hidden) m_text += text;
    }

    /// Collects the bytes for flushBytes(), because a character may consist of several bytes.
    void putByte(char c) {
        if (m_remainingFallback > 0) {
            --m_remainingFallback;
        } else if (!m_groups.back().hidden) {
            m_bytes += c;
        }
    }

    void flushBytes() {
        if (m_bytes.empty()) return;
        const UINT codePage = ::IsValidCodePage(m_codePage) ? m_codePage : CP_ACP;
        const int size = static_cast<int>(m_bytes.size());
        const int length = ::MultiByteToWideChar(codePage, 0, m_bytes.data(), size, nullptr, 0);
        std::wstring text(static_cast<std::size_t>(length), L'\0');
        ::MultiByteToWideChar(codePage, 0, m_bytes.data(), size, text.data(), length);
        m_text += text;
        m_bytes.clear();
    }

    std::string_view m_rest;
    std::vector<Group> m_groups{Group{}};
    UINT m_codePage = CP_ACP;
    /// The number of characters that remain to be skipped after a \u control word. A brace resets
    /// the number to 0, because the group may contain fewer characters after the control word.
    int m_remainingFallback = 0;
    std::string m_bytes;
    std::wstring m_text;
};

}  // namespace

std::optional<std::wstring> plainTextOfRtf(std::string_view rtf) {
    if (!rtf.starts_with("{\\rtf")) return std::nullopt;
    return Reader(rtf).read();
}
