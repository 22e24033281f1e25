#include <algorithm>
#include <cstddef>
#include <string_view>
#include <type_traits>

#include "i18nstr/i18nstr.h"

namespace i18nstr {
namespace {

// The highest code of each encoding.
constexpr unsigned kAscii7 = 127;
constexpr unsigned kLatin1 = 255;

// Returns the code of a character as an unsigned number, because `char` is signed with some
// compilers.
template <class Char>
constexpr unsigned codeOf(Char character) {
    return static_cast<std::make_unsigned_t<Char>>(character);
}

template <class From, class To>
bool convertUpTo(unsigned limit, std::basic_string_view<From> text, std::basic_string<To>& output) {
    bool complete = true;
    output.resize(text.size());
    std::transform(text.begin(), text.end(), output.begin(), [&](From character) {
        const unsigned code = codeOf(character);
        if (code <= limit) return static_cast<To>(code);
        complete = false;
        return static_cast<To>('?');
    });
    return complete;
}

template <class From, class To>
bool convertCounted(unsigned limit, const From* text, int length, std::basic_string<To>& output) {
    const bool readable = text || length < 1;
    const std::size_t count = text && length > 0 ? static_cast<std::size_t>(length) : 0;
    return convertUpTo(limit, std::basic_string_view<From>(text, count), output) && readable;
}

template <class From, class To>
bool convertTerminated(unsigned limit, const From* text, std::basic_string<To>& output) {
    if (text) return convertUpTo(limit, std::basic_string_view<From>(text), output);
    output.clear();
    return false;
}

bool allAscii7(std::string_view text) {
    return std::all_of(text.begin(), text.end(),
                       [](char character) { return codeOf(character) <= kAscii7; });
}

}  // namespace

bool wide2ascii7(const wchar_t* text, int length, std::string& ascii) {
    return convertCounted(kAscii7, text, length, ascii);
}

bool wide2ascii7(const wchar_t* text, std::string& ascii) {
    return convertTerminated(kAscii7, text, ascii);
}

bool wide2latin(const wchar_t* text, int length, std::string& latin) {
    return convertCounted(kLatin1, text, length, latin);
}

bool wide2latin(const wchar_t* text, std::string& latin) {
    return convertTerminated(kLatin1, text, latin);
}

bool ascii72wide(const char* text, int length, std::wstring& wide) {
    return convertCounted(kAscii7, text, length, wide);
}

bool ascii72wide(const char* text, std::wstring& wide) {
    return convertTerminated(kAscii7, text, wide);
}

bool latin2wide(const char* text, int length, std::wstring& wide) {
    return convertCounted(kLatin1, text, length, wide);
}

bool latin2wide(const char* text, std::wstring& wide) {
    return convertTerminated(kLatin1, text, wide);
}

bool mb2ascii7(const char* text, int length, std::string& ascii) {
    std::wstring wide;
    const bool converted = mb2wide(text, length, wide);
    return convertUpTo<wchar_t>(kAscii7, wide, ascii) && converted;
}

bool mb2ascii7(const char* text, std::string& ascii) { return mb2ascii7(text, -1, ascii); }

bool isAscii7(const char* text, int length) {
    if (length < 1) return true;
    return text && allAscii7({text, static_cast<std::size_t>(length)});
}

bool isAscii7(const char* text) { return text && allAscii7(text); }

}  // namespace i18nstr
