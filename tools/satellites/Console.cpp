#include "tools/satellites/Console.h"

#include <fcntl.h>
#include <io.h>

#include <cstdio>
#include <string>

#include "tools/satellites/Utf8.h"

namespace satellites {

namespace {

void write(std::FILE* stream, std::string_view bytes) {
    ::_setmode(::_fileno(stream), _O_BINARY);  // no carriage returns before line feeds
    std::fwrite(bytes.data(), 1, bytes.size(), stream);
}

}  // namespace

void print(std::wstring_view text) { write(stdout, utf8(text)); }
void printBytes(std::string_view bytes) { write(stdout, bytes); }

void printError(std::wstring_view text) {
    std::fflush(stdout);
    write(stderr, utf8(text));
}

Progress::Progress() noexcept : m_isTerminal(::_isatty(::_fileno(stderr)) != 0) {}

Progress::~Progress() {
    if (m_length > 0) printError(L"\r" + std::wstring(m_length, L' ') + L"\r");
}

void Progress::show(std::wstring_view text) {
    if (!m_isTerminal) return;
    std::wstring line = L"\r" + std::wstring(text);
    if (text.size() < m_length) line.append(m_length - text.size(), L' ');
    m_length = text.size();
    printError(line);
}

}  // namespace satellites
