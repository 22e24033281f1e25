#include "samples/exchange/Console.h"

#include <windows.h>

#include <fcntl.h>
#include <io.h>

#include <algorithm>
#include <string_view>

#include <I18nResource.h>

namespace {

HANDLE handleOf(FILE* stream) {
    return reinterpret_cast<HANDLE>(::_get_osfhandle(::_fileno(stream)));
}

bool isConsole(FILE* stream) {
    DWORD mode;
    return ::GetConsoleMode(handleOf(stream), &mode) != 0;
}

void writeToConsole(HANDLE console, std::wstring_view text) {
    // Before Windows 8, one call to WriteConsoleW can write only about 64 KB.
    constexpr std::size_t kMaxUnits = 8192;
    while (!text.empty()) {
        std::size_t count = std::min(text.size(), kMaxUnits);
        if (count < text.size() && IS_HIGH_SURROGATE(text[count - 1])) --count;
        DWORD written = 0;
        if (!::WriteConsoleW(console, text.data(), static_cast<DWORD>(count), &written, nullptr) ||
            written == 0)
            return;
        text.remove_prefix(written);
    }
}

void writeToFile(FILE* stream, const std::string& utf8) {
    std::fwrite(utf8.data(), 1, utf8.size(), stream);
    // Flush error messages immediately, because the program may continue to run for some time.
    if (stream == stderr) std::fflush(stream);
}

}  // namespace

void useBinaryStreams() {
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
}

void print(FILE* stream, const std::wstring& text) {
    // A console interprets bytes in its output code page. This function does not change the code
    // page, because all programs that use the console share it.
    if (isConsole(stream)) return writeToConsole(handleOf(stream), text);
    std::string utf8;
    i18nstr::wide2UTF8(text.c_str(), static_cast<int>(text.size()), utf8);
    writeToFile(stream, utf8);
}

void printUtf8(FILE* stream, const std::string& utf8) {
    if (!isConsole(stream)) return writeToFile(stream, utf8);
    std::wstring text;
    i18nstr::UTF82wide(utf8.c_str(), static_cast<int>(utf8.size()), text);
    writeToConsole(handleOf(stream), text);
}

void printPasted(const std::wstring& text) {
    print(stdout, text);
    if (!text.ends_with(L'\n')) print(stdout, L"\n");
}

std::wstring counted(std::size_t count, const std::wstring& noun) {
    return std::to_wstring(count) + L" " + noun + (count == 1 ? L"" : L"s");
}
