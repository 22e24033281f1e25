#include "samples/localize/Output.h"

#include <windows.h>

#include <fcntl.h>
#include <io.h>

#include <cstdio>

#include <I18nResource.h>

namespace {

void write(FILE* stream, const std::wstring& text) {
    std::string utf8;
    i18nstr::wide2UTF8(text.c_str(), static_cast<int>(text.size()), utf8);
    std::fwrite(utf8.data(), 1, utf8.size(), stream);
}

}  // namespace

void print(const std::wstring& text) { write(stdout, text); }

void printBytes(const std::string& bytes) { std::fwrite(bytes.data(), 1, bytes.size(), stdout); }

void printError(const std::wstring& message) { write(stderr, L"localize: " + message + L"\n"); }

void useUtf8() {
    ::SetConsoleOutputCP(CP_UTF8);
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
}
