#include "tools/satellites/Json.h"

#include <cwchar>
#include <iterator>

namespace satellites {

std::wstring json(std::wstring_view text) {
    std::wstring result = L"\"";
    for (const wchar_t character : text) {
        if (character == L'"' || character == L'\\') {
            result += L'\\';
            result += character;
        } else if (character == L'\n') {
            result += L"\\n";
        } else if (character == L'\t') {
            result += L"\\t";
        } else if (character == L'\r') {
            result += L"\\r";
        } else if (character < L' ' || (character >= 0x7F && character < 0xA0)) {
            wchar_t escape[7];
            std::swprintf(escape, std::size(escape), L"\\u%04x", unsigned{character});
            result += escape;
        } else {
            result += character;
        }
    }
    return result + L"\"";
}

}  // namespace satellites
