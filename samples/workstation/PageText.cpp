#include "samples/workstation/PageText.h"

#include <I18nResource.h>

std::wstring textOfPage(const std::string& page) {
    std::wstring wide;
    i18nstr::UTF82wide(page.c_str(), static_cast<int>(page.size()), wide);

    std::wstring text, line;
    bool inTag = false;
    for (const wchar_t c : wide + L"\n") {
        if (c == L'<') inTag = true;
        if (c == L'\n') {
            if (!line.empty()) text += (text.empty() ? L"" : L"\r\n") + line;
            line.clear();
        } else if (!inTag && c != L'\r') {
            line += c;
        }
        if (c == L'>') inTag = false;
    }
    return text;
}
