#include "i18nstr/i18nstr.h"

#include <windows.h>

#include <oleauto.h>

#include <climits>
#include <utility>

#include "platform/Bstr.h"

namespace i18nstr {
namespace {

struct CodePage {
    UINT number;
    DWORD toWideFlags;
    DWORD toNarrowFlags;
};

constexpr CodePage kAnsi{CP_ACP, MB_PRECOMPOSED, WC_COMPOSITECHECK | WC_SEPCHARS};
constexpr CodePage kUtf8{CP_UTF8, 0, 0};

// The system's converters, under one name for both directions. They answer the units written or,
// for a size of 0, needed, the terminator of the text included; 0 for a refusal.
int convert(const CodePage& codePage, const char* text, int count, wchar_t* output, int size) {
    return ::MultiByteToWideChar(codePage.number, codePage.toWideFlags, text, count, output, size);
}

int convert(const CodePage& codePage, const wchar_t* text, int count, char* output, int size) {
    return ::WideCharToMultiByte(codePage.number, codePage.toNarrowFlags, text, count, output, size,
                                 nullptr, nullptr);
}

template <class From>
bool isEmpty(const From* text, int length) {
    return length == 0 || text[0] == From();
}

// What the converters are told about a length: the terminator behind the text is converted along.
// kept: callers rely on the text being read up to and including index `length`.
int countWithTerminator(int length) {
    if (length < 0) return -1;
    return length < INT_MAX ? length + 1 : 0;  // the converters refuse 0
}

template <class From, class To>
bool convertToString(const CodePage& codePage, const From* text, int length,
                     std::basic_string<To>& output) {
    if (!text || isEmpty(text, length)) {
        output.clear();
        return text != nullptr;
    }
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

void freeAndClear(BSTR& held) { ::SysFreeString(std::exchange(held, nullptr)); }

bool convertToBstr(const CodePage& codePage, const char* text, int length, BSTR* output) {
    if (!output) return false;
    if (!text || isEmpty(text, length)) {
        freeAndClear(*output);
        return text != nullptr;
    }
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

}  // namespace

bool mb2wide(const char* text, int length, std::wstring& wide) {
    return convertToString(kAnsi, text, length, wide);
}

bool mb2wide(const char* text, int length, wchar_t** wide) {
    return convertToBstr(kAnsi, text, length, wide);
}

bool wide2mb(const wchar_t* text, int length, std::string& narrow) {
    return convertToString(kAnsi, text, length, narrow);
}

bool wide2mb(const wchar_t* text, int length, char* buffer, unsigned __int64 size) {
    if (!buffer) size = 0;
    if (size > 0) buffer[0] = '\0';
    if (!text) return false;
    if (isEmpty(text, length)) return true;

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
    return convertToString(kUtf8, text, length, wide);
}

bool UTF82wide(const char* text, int length, wchar_t** wide) {
    return convertToBstr(kUtf8, text, length, wide);
}

bool wide2UTF8(const wchar_t* text, int length, std::string& utf8) {
    return convertToString(kUtf8, text, length, utf8);
}

}  // namespace i18nstr
