#include "i18nstr/i18nstr.h"

#include <windows.h>

#include <oleauto.h>

#include <climits>
#include <cstddef>
#include <span>
#include <string_view>
#include <utility>

#include "i18nstr/AnsiTables.h"
#include "i18nstr/SystemConverters.h"
#include "i18nstr/Utf8.h"
#include "platform/Bstr.h"

namespace i18nstr {
namespace {

// How one encoding becomes another: plain text by functions of ours, which give exactly what the
// system's converters give and are several times as fast, and all other text by the system.
template <class From, class To>
struct Conversion {
    CodePage codePage;

    // The units that plain text takes; 0 where only the system can tell.
    std::size_t (*plainLength)(std::basic_string_view<From> text) noexcept;

    // Into as many units as that. False when the text turns out not to be plain.
    bool (*convertPlain)(std::basic_string_view<From> text, std::span<To> output) noexcept;
};

constexpr Conversion<char, wchar_t> kAnsiToWide{kAnsi, ansi::wideLength, ansi::toWide};
constexpr Conversion<wchar_t, char> kWideToAnsi{kAnsi, ansi::narrowLength, ansi::toNarrow};
constexpr Conversion<char, wchar_t> kUtf8ToWide{kUtf8, utf8::wideLength, utf8::toWide};
constexpr Conversion<wchar_t, char> kWideToUtf8{kUtf8, utf8::narrowLength, utf8::toNarrow};

template <class From>
bool isEmpty(const From* text, int length) {
    return length == 0 || text[0] == From();
}

// What the system's converters are told about a length: the terminator behind the text is converted
// along. kept: callers rely on the text being read up to and including index `length`.
int countWithTerminator(int length) {
    if (length < 0) return -1;
    return length < INT_MAX ? length + 1 : 0;  // the converters refuse 0
}

// A text as the functions for plain text take it.
template <class From>
struct PlainText {
    std::basic_string_view<From> text;
    std::size_t convertedLength = 0;  // 0: only the system can convert the text
};

template <class From, class To>
PlainText<From> plainText(const Conversion<From, To>& conversion, const From* text, int length) {
    constexpr int kLongest = INT_MAX / 4;  // so that every result's size is an int
    if (length > kLongest) return {};
    if (length >= 0 && text[length] != From()) return {};  // a unit more has to be converted
    const auto plain = length < 0
                           ? std::basic_string_view<From>(text)
                           : std::basic_string_view<From>(text, static_cast<std::size_t>(length));
    if (plain.size() > std::size_t{kLongest}) return {};
    return {plain, conversion.plainLength(plain)};
}

template <class From, class To>
bool convertBySystem(const CodePage& codePage, const From* text, int length,
                     std::basic_string<To>& output) {
    const int count = countWithTerminator(length);
    const int size = convert(codePage, text, count, static_cast<To*>(nullptr), 0);
    if (size <= 0) {
        output.clear();
        return false;
    }
    output.resize(static_cast<std::size_t>(size));
    if (convert(codePage, text, count, output.data(), size) <= 0) {
        output.clear();
        return false;
    }
    output.pop_back();  // the terminator, or the last unit of a text without one
    return true;
}

template <class From, class To>
bool convertToString(const Conversion<From, To>& conversion, const From* text, int length,
                     std::basic_string<To>& output) {
    if (!text || isEmpty(text, length)) {
        output.clear();
        return text != nullptr;
    }
    const auto plain = plainText(conversion, text, length);
    if (plain.convertedLength > 0) {
        output.resize(plain.convertedLength);
        if (conversion.convertPlain(plain.text, output)) return true;
    }
    return convertBySystem(conversion.codePage, text, length, output);
}

void freeAndClear(BSTR& held) { ::SysFreeString(std::exchange(held, nullptr)); }

bool convertBySystem(const CodePage& codePage, const char* text, int length, BSTR* output) {
    const int count = countWithTerminator(length);
    const int size = convert(codePage, text, count, static_cast<wchar_t*>(nullptr), 0);
    if (size <= 0) {
        freeAndClear(*output);
        return false;
    }
    const auto contents = static_cast<UINT>(size - 1);
    platform::Bstr converted;
    converted.adopt(::SysAllocStringLen(nullptr, contents));
    // kept: from here on the caller's earlier BSTR is replaced, not freed; it may be in use
    // elsewhere.
    *output = nullptr;
    if (!converted.get() || convert(codePage, text, count, converted.get(), size) <= 0)
        return false;
    converted.get()[contents] = L'\0';
    *output = converted.detach();
    return true;
}

bool convertToBstr(const Conversion<char, wchar_t>& conversion, const char* text, int length,
                   BSTR* output) {
    if (!output) return false;
    if (!text || isEmpty(text, length)) {
        freeAndClear(*output);
        return text != nullptr;
    }
    const auto plain = plainText(conversion, text, length);
    if (plain.convertedLength > 0) {
        platform::Bstr converted;
        converted.adopt(::SysAllocStringLen(nullptr, static_cast<UINT>(plain.convertedLength)));
        if (!converted.get()) {
            *output = nullptr;  // kept: replaced, not freed, as below
            return false;
        }
        if (conversion.convertPlain(plain.text, {converted.get(), plain.convertedLength})) {
            *output = converted.detach();
            return true;
        }
    }
    return convertBySystem(conversion.codePage, text, length, output);
}

}  // namespace

bool mb2wide(const char* text, int length, std::wstring& wide) {
    return convertToString(kAnsiToWide, text, length, wide);
}

bool mb2wide(const char* text, int length, wchar_t** wide) {
    return convertToBstr(kAnsiToWide, text, length, wide);
}

bool wide2mb(const wchar_t* text, int length, std::string& narrow) {
    return convertToString(kWideToAnsi, text, length, narrow);
}

bool wide2mb(const wchar_t* text, int length, char* buffer, unsigned __int64 size) {
    // kept: also with a `size` of 0. Callers that fail to measure their buffer find it emptied.
    if (buffer) buffer[0] = '\0';
    if (!text) return false;
    if (isEmpty(text, length)) return true;
    if (!buffer) return false;

    const auto plain = plainText(kWideToAnsi, text, length);
    if (plain.convertedLength > 0) {
        if (size <= plain.convertedLength) return false;
        kWideToAnsi.convertPlain(plain.text, {buffer, plain.convertedLength});
        buffer[plain.convertedLength] = '\0';
        return true;
    }

    const int count = countWithTerminator(length);
    const int needed = convert(kAnsi, text, count, static_cast<char*>(nullptr), 0);
    if (needed <= 0 || size < static_cast<unsigned>(needed)) return false;
    if (convert(kAnsi, text, count, buffer, needed) <= 0) {
        buffer[0] = '\0';
        return false;
    }
    buffer[needed - 1] = '\0';
    return true;
}

bool UTF82wide(const char* text, int length, std::wstring& wide) {
    return convertToString(kUtf8ToWide, text, length, wide);
}

bool UTF82wide(const char* text, int length, wchar_t** wide) {
    return convertToBstr(kUtf8ToWide, text, length, wide);
}

bool wide2UTF8(const wchar_t* text, int length, std::string& utf8) {
    return convertToString(kWideToUtf8, text, length, utf8);
}

}  // namespace i18nstr
