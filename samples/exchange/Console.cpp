#include "samples/exchange/Console.h"

#include <I18nResource.h>

void print(FILE* stream, const std::wstring& text) {
    std::string utf8;
    i18nstr::wide2UTF8(text.c_str(), static_cast<int>(text.size()), utf8);
    std::fwrite(utf8.data(), 1, utf8.size(), stream);
    // Flush error messages immediately, because the program may continue to run for some time.
    if (stream == stderr) std::fflush(stream);
}

void printPasted(const std::wstring& text) {
    print(stdout, text);
    if (!text.ends_with(L'\n')) print(stdout, L"\n");
}

std::wstring counted(std::size_t count, const std::wstring& noun) {
    return std::to_wstring(count) + L" " + noun + (count == 1 ? L"" : L"s");
}
