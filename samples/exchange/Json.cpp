#include "samples/exchange/Json.h"

#include <cwchar>
#include <iterator>

std::wstring jsonOf(const std::wstring& text) {
    std::wstring json = L"\"";
    for (const wchar_t c : text) {
        if (c == L'"' || c == L'\\') {
            json += L'\\';
            json += c;
        } else if (c < L' ' || (c >= 0xD800 && c <= 0xDFFF)) {
            // Surrogates are escaped too, because UTF-8 cannot represent an unpaired surrogate.
            wchar_t escaped[8];
            std::swprintf(escaped, std::size(escaped), L"\\u%04x", static_cast<unsigned>(c));
            json += escaped;
        } else {
            json += c;
        }
    }
    return json + L"\"";
}

std::wstring jsonOf(const std::vector<std::wstring>& texts) {
    std::wstring json;
    for (const std::wstring& text : texts) json += (json.empty() ? L"" : L", ") + jsonOf(text);
    return L"[" + json + L"]";
}

std::wstring jsonOf(const Program& program) {
    if (program.process == 0) return L"null";
    return L"{\"program\": " + jsonOf(program.name) + L", \"process\": " +
           std::to_wstring(program.process) + L"}";
}

std::wstring jsonArray(const std::vector<std::wstring>& values) {
    std::wstring json;
    for (const std::wstring& value : values) json += (json.empty() ? L"" : L",\n  ") + value;
    return L"[" + json + L"]";
}
