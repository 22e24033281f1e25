#include "i18nres/PrintfPattern.h"

#include <cstddef>

namespace i18nres {

namespace {

using std::wstring_view;

bool isOneOf(wchar_t character, wstring_view set) noexcept {
    return set.find(character) != wstring_view::npos;
}

void skipCharacters(wstring_view& rest, wstring_view set) noexcept {
    const std::size_t end = rest.find_first_not_of(set);
    rest.remove_prefix(end == wstring_view::npos ? rest.size() : end);
}

/// Skips a number or an asterisk if `rest` begins with one.
void skipNumberOrAsterisk(wstring_view& rest) noexcept {
    if (!rest.empty() && rest.front() == L'*') {
        rest.remove_prefix(1);
    } else {
        skipCharacters(rest, L"0123456789");
    }
}

void skipArgumentSize(wstring_view& rest) noexcept {
    for (const wstring_view size :
         {L"hh", L"h", L"ll", L"l", L"I32", L"I64", L"I", L"j", L"z", L"t", L"L", L"w"}) {
        if (rest.substr(0, size.size()) != size) continue;
        rest.remove_prefix(size.size());
        return;
    }
}

}  // namespace

bool isPrintfPattern(wstring_view pattern) noexcept {
    wstring_view rest = pattern;
    for (;;) {
        const std::size_t percent = rest.find(L'%');
        if (percent == wstring_view::npos) return true;
        rest.remove_prefix(percent + 1);
        if (!rest.empty() && rest.front() == L'%') {
            rest.remove_prefix(1);
            continue;
        }
        skipCharacters(rest, L"-+ #0");
        skipNumberOrAsterisk(rest);
        if (!rest.empty() && rest.front() == L'.') {
            rest.remove_prefix(1);
            skipNumberOrAsterisk(rest);
        }
        skipArgumentSize(rest);
        if (rest.empty() || !isOneOf(rest.front(), L"diouxXcCsSpeEfFgGaA")) return false;
        rest.remove_prefix(1);
    }
}

}  // namespace i18nres
