#include "tools/satellites/NulSymbol.h"

namespace satellites {

namespace {

bool canContainNul(const std::wstring& context) { return context.starts_with(L"STRING."); }

bool isSymbol(wchar_t character) { return character == kNulSymbol || character == kEscapeSymbol; }

}  // namespace

std::wstring withNulSymbols(const std::wstring& context, const std::wstring& text) {
    if (!canContainNul(context)) return text;
    std::wstring result;
    for (const wchar_t character : text) {
        if (isSymbol(character)) result += kEscapeSymbol;
        result += character == L'\0' ? kNulSymbol : character;
    }
    return result;
}

std::wstring withoutNulSymbols(const std::wstring& context, const std::wstring& text) {
    if (!canContainNul(context)) return text;
    std::wstring result;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const bool isEscape =
            text[at] == kEscapeSymbol && at + 1 < text.size() && isSymbol(text[at + 1]);
        if (isEscape) {
            result += text[++at];
        } else {
            result += text[at] == kNulSymbol ? L'\0' : text[at];
        }
    }
    return result;
}

}  // namespace satellites
