#include "tools/satellites/Console.h"

#include <fcntl.h>
#include <io.h>

#include <cstdio>
#include <string>

#include "tools/satellites/Failure.h"
#include "tools/satellites/TextRules.h"
#include "tools/satellites/Utf8.h"

namespace satellites {

namespace {

bool write(std::FILE* stream, std::string_view bytes) {
    ::_setmode(::_fileno(stream), _O_BINARY);  // binary mode does not change line feeds
    return std::fwrite(bytes.data(), 1, bytes.size(), stream) == bytes.size() &&
           std::fflush(stream) == 0;
}

std::string printable(std::wstring_view text) {
    std::wstring result;
    for (const wchar_t character : text) {
        if (character == L'\n' || character == L'\t') {
            result += character;
        } else {
            appendVisibly(result, character);
        }
    }
    return utf8(result);
}

}  // namespace

void print(std::wstring_view text) { printBytes(printable(text)); }

void printBytes(std::string_view bytes) {
    if (!write(stdout, bytes)) throw Failure{L"standard output cannot be written"};
}

void printError(std::wstring_view text) { write(stderr, printable(text)); }

Progress::Progress() noexcept : m_isTerminal(::_isatty(::_fileno(stderr)) != 0) {}

Progress::~Progress() { clear(); }

void Progress::clear() {
    if (m_length == 0) return;
    std::string blanks(m_length + 2, ' ');
    blanks.front() = blanks.back() = '\r';
    write(stderr, blanks);
    m_length = 0;
}

void Progress::show(std::wstring_view text) {
    if (!m_isTerminal) return;
    clear();
    m_length = text.size();
    printError(text);
}

}  // namespace satellites
