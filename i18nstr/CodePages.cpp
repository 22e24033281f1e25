#include "i18nstr/i18nstr.h"

#include <windows.h>

#include <oleauto.h>

#include <climits>
#include <cstddef>
#include <string_view>
#include <utility>

#include "i18nstr/AnsiText.h"
#include "i18nstr/SystemConverters.h"
#include "i18nstr/Utf8.h"
#include "platform/Bstr.h"

// AnsiText and Utf8 convert most text without calling the system. They are several times as fast as
// the system's functions, and their results are the same. All other text is converted by the
// system's functions.

namespace i18nstr {
namespace {

template <class From>
bool isEmpty(const From* text, int length) {
    return length == 0 || text[0] == From();
}

// Returns the text without its terminator, for the fast path: a conversion by AnsiText or Utf8.
// Returns an empty view if the text must be passed to the system's functions.
template <class From>
std::basic_string_view<From> fastPathText(const From* text, int length) {
    // For longer text, the size of the result may exceed INT_MAX. In this case, the system's
    // functions fail.
    constexpr int kMaxLength = INT_MAX / 4;
    if (length > kMaxLength) return {};
    // If the character at index `length` is not a NUL, the text is passed to the system's
    // functions, which also convert this character.
    if (length >= 0 && text[length] != From()) return {};
    const auto withoutTerminator =
        length < 0 ? std::basic_string_view<From>(text)
                   : std::basic_string_view<From>(text, static_cast<std::size_t>(length));
    if (withoutTerminator.size() > std::size_t{kMaxLength}) return {};
    return withoutTerminator;
}

// Returns the `count` argument for convert(): the number of code units including the terminator, or
// -1 if `length` is negative. Compatibility: the character at index `length` is converted even if
// it is not a NUL, because callers rely on this behavior.
int countWithTerminator(int length) {
    if (length < 0) return -1;
    return length < INT_MAX ? length + 1 : 0;  // the system's functions fail for 0
}

enum class Outcome { kConverted, kFailed, kLengthUnknown };

// Converts text that is not empty. `allocate(units)` returns memory for `units` code units and a
// terminator. If `allocate` returns null, the conversion fails. If `allocate` is called twice, the
// memory from the second call replaces the memory from the first call.
template <class To, class Encoding, class From, class Allocate>
Outcome convertInto(const Encoding& encoding, const From* text, int length, Allocate allocate) {
    const auto fastPath = fastPathText(text, length);
    if (const std::size_t units = encoding.convertedLength(fastPath); units > 0) {
        To* const output = allocate(units);
        if (!output) return Outcome::kFailed;
        output[units] = To();
        if (encoding.convert(fastPath, {output, units})) return Outcome::kConverted;
    }

    const CodePage& codePage = encoding.codePage();
    const int count = countWithTerminator(length);
    const int size = convert(codePage, text, count, static_cast<To*>(nullptr), 0);
    if (size <= 0) return Outcome::kLengthUnknown;
    const auto units = static_cast<std::size_t>(size - 1);
    To* const output = allocate(units);
    if (!output || convert(codePage, text, count, output, size) <= 0) return Outcome::kFailed;
    output[units] = To();  // overwrites the last unit, which is the terminator in most cases
    return Outcome::kConverted;
}

template <class Encoding, class From, class To>
bool convertToString(const Encoding& encoding, const From* text, int length,
                     std::basic_string<To>& output) {
    if (!text || isEmpty(text, length)) {
        output.clear();
        return text != nullptr;
    }
    const Outcome outcome = convertInto<To>(encoding, text, length, [&](std::size_t units) {
        output.resize(units + 1);
        return output.data();
    });
    if (outcome != Outcome::kConverted) {
        output.clear();
        return false;
    }
    output.pop_back();  // the terminator
    return true;
}

template <class Encoding>
bool convertToBstr(const Encoding& encoding, const char* text, int length, BSTR* output) {
    if (!output) return false;
    if (!text || isEmpty(text, length)) {
        ::SysFreeString(std::exchange(*output, nullptr));
        return text != nullptr;
    }
    platform::Bstr converted;
    const Outcome outcome = convertInto<wchar_t>(encoding, text, length, [&](std::size_t units) {
        converted = platform::Bstr::ofLength(units);
        return converted.get();
    });
    // Compatibility: the caller's previous BSTR is freed only if the system cannot compute the
    // length of the result. In all other cases, it is not freed, because the caller may still use
    // it.
    if (outcome == Outcome::kLengthUnknown) ::SysFreeString(*output);
    *output = outcome == Outcome::kConverted ? converted.detach() : nullptr;
    return outcome == Outcome::kConverted;
}

}  // namespace

bool mb2wide(const char* text, int length, std::wstring& wide) {
    return convertToString(AnsiText::ofProcess(), text, length, wide);
}

bool mb2wide(const char* text, int length, wchar_t** wide) {
    return convertToBstr(AnsiText::ofProcess(), text, length, wide);
}

bool wide2mb(const wchar_t* text, int length, std::string& narrow) {
    return convertToString(AnsiText::ofProcess(), text, length, narrow);
}

bool wide2mb(const wchar_t* text, int length, char* buffer, unsigned __int64 size) {
    // Compatibility: the terminator is written even if `size` is 0. Callers that pass an incorrect
    // size rely on receiving the empty string.
    if (buffer) buffer[0] = '\0';
    if (!text) return false;
    if (isEmpty(text, length)) return true;
    if (!buffer) return false;

    const Outcome outcome =
        convertInto<char>(AnsiText::ofProcess(), text, length,
                          [&](std::size_t units) { return units < size ? buffer : nullptr; });
    if (outcome != Outcome::kConverted) buffer[0] = '\0';
    return outcome == Outcome::kConverted;
}

bool UTF82wide(const char* text, int length, std::wstring& wide) {
    return convertToString(Utf8{}, text, length, wide);
}

bool UTF82wide(const char* text, int length, wchar_t** wide) {
    return convertToBstr(Utf8{}, text, length, wide);
}

bool wide2UTF8(const wchar_t* text, int length, std::string& utf8) {
    return convertToString(Utf8{}, text, length, utf8);
}

}  // namespace i18nstr
