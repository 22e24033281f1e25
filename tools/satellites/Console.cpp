#include "tools/satellites/Console.h"

#include <windows.h>

#include <algorithm>
#include <string>

#include "tools/satellites/Failure.h"
#include "tools/satellites/TextRules.h"
#include "tools/satellites/Utf8.h"

namespace satellites {

namespace {

bool isConsole(HANDLE output) {
    DWORD mode;
    return ::GetConsoleMode(output, &mode) != 0;
}

bool writeToConsole(HANDLE console, std::wstring_view text) {
    // Before Windows 8, one call to WriteConsoleW can write only about 64 KB.
    constexpr std::size_t kMaxUnits = 8192;
    while (!text.empty()) {
        std::size_t count = std::min(text.size(), kMaxUnits);
        if (count < text.size() && IS_HIGH_SURROGATE(text[count - 1])) --count;
        DWORD written = 0;
        if (!::WriteConsoleW(console, text.data(), static_cast<DWORD>(count), &written, nullptr) ||
            written == 0) {
            return false;
        }
        text.remove_prefix(written);
    }
    return true;
}

/// Writes UTF-8 text to a standard handle. A file or a pipe receives the bytes. For a console, the
/// text is converted to UTF-16, because a console interprets bytes in its output code page. The
/// function does not change the code page, because all programs that use the console share the code
/// page. The change would also persist if this program were terminated.
bool write(DWORD standardHandle, std::string_view bytes) {
    const HANDLE output = ::GetStdHandle(standardHandle);
    if (isConsole(output)) return writeToConsole(output, wide(bytes));
    DWORD written = 0;
    return ::WriteFile(output, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) &&
           written == bytes.size();
}

std::string printable(std::wstring_view text) {
    std::wstring result;
    for (const wchar_t character : text) {
        if (character == L'\n' || character == L'\t') {
            result += character;
        } else {
            appendEscaped(result, character);
        }
    }
    return utf8(result);
}

}  // namespace

void print(std::wstring_view text) { printBytes(printable(text)); }

void printBytes(std::string_view bytes) {
    if (!write(STD_OUTPUT_HANDLE, bytes)) throw Failure{L"standard output cannot be written"};
}

void printError(std::wstring_view text) { write(STD_ERROR_HANDLE, printable(text)); }

Progress::Progress() noexcept : m_isTerminal(isConsole(::GetStdHandle(STD_ERROR_HANDLE))) {}

Progress::~Progress() { clear(); }

void Progress::clear() {
    if (m_length == 0) return;
    std::string blanks(m_length + 2, ' ');
    blanks.front() = blanks.back() = '\r';
    write(STD_ERROR_HANDLE, blanks);
    m_length = 0;
}

void Progress::show(std::wstring_view text) {
    if (!m_isTerminal) return;
    clear();
    m_length = text.size();
    printError(text);
}

}  // namespace satellites
