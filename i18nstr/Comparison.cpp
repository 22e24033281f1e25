#include "i18nstr/i18nstr.h"

#include <windows.h>

#include <algorithm>
#include <climits>
#include <cwctype>
#include <string_view>

namespace i18nstr {
namespace {

// Converts the result of CompareString: CSTR_LESS_THAN (1) to -1, CSTR_EQUAL (2) to 0, and
// CSTR_GREATER_THAN (3) to 1. Returns 0 if the comparison failed.
int order(int result) { return result == 0 ? 0 : result - CSTR_EQUAL; }

// Compares NUL-terminated strings. Returns 0 if a string is null or has more than INT_MAX
// characters.
template <class Char>
int compareTerminated(const Char* left, const Char* right) {
    if (!left || !right) return 0;
    const std::basic_string_view<Char> leftText(left);
    const std::basic_string_view<Char> rightText(right);
    if (std::max(leftText.size(), rightText.size()) > INT_MAX) return 0;
    return compare(left, static_cast<int>(leftText.size()), right,
                   static_cast<int>(rightText.size()));
}

}  // namespace

int compare(const char* left, int leftLength, const char* right, int rightLength) {
    return order(::CompareStringA(LOCALE_SYSTEM_DEFAULT, NORM_IGNOREWIDTH, left, leftLength, right,
                                  rightLength));
}

int compare(const wchar_t* left, int leftLength, const wchar_t* right, int rightLength) {
    return order(::CompareStringW(LOCALE_SYSTEM_DEFAULT, NORM_IGNOREWIDTH, left, leftLength, right,
                                  rightLength));
}

int compare(const char* left, const char* right) { return compareTerminated(left, right); }

int compare(const wchar_t* left, const wchar_t* right) { return compareTerminated(left, right); }

void tolower(std::wstring& text) {
    std::transform(text.begin(), text.end(), text.begin(), [](wchar_t character) {
        return static_cast<wchar_t>(std::towlower(character));
    });
}

void toupper(std::wstring& text) {
    std::transform(text.begin(), text.end(), text.begin(), [](wchar_t character) {
        return static_cast<wchar_t>(std::towupper(character));
    });
}

}  // namespace i18nstr
