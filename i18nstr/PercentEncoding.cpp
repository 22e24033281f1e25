#include "i18nstr/i18nstr.h"

#include <windows.h>

#include <array>
#include <cstddef>
#include <string_view>

namespace i18nstr {
namespace {

constexpr std::size_t kLongestUrl = 2083;          // characters, the terminator not counted
constexpr std::size_t kLongestDecodedText = 2084;  // bytes

// A UTF-16 unit gives three bytes of UTF-8 at most; a pair of two units gives four.
constexpr std::size_t kUtf8BytesPerUnit = 3;

bool isUnsafe(char byte) {
    constexpr std::string_view kUnsafe = " \"#$%&+,;<=>?@[\\]^`{|}";
    return byte < ' ' || byte > '~' || kUnsafe.find(byte) != std::string_view::npos;
}

// Collects the encoded text, up to the bound.
class EncodedUrl {
public:
    bool append(std::string_view characters) {
        if (characters.size() > m_text.size() - m_length) return false;
        characters.copy(m_text.data() + m_length, characters.size());
        m_length += characters.size();
        return true;
    }

    std::string_view view() const { return {m_text.data(), m_length}; }

private:
    std::array<char, kLongestUrl> m_text;
    std::size_t m_length = 0;
};

bool encode(std::string_view utf8, EncodedUrl& url) {
    constexpr char kDigits[] = "0123456789abcdef";
    for (const char& byte : utf8) {
        // A percent sign stays: it may be the start of an escape that the text already has.
        const bool asItIs = byte == '%' || !isUnsafe(byte);
        const auto code = static_cast<unsigned char>(byte);
        const char escaped[] = {'%', kDigits[code / 16], kDigits[code % 16]};
        if (!url.append(asItIs ? std::string_view(&byte, 1) : std::string_view(escaped, 3))) {
            return false;
        }
    }
    return true;
}

int hexDigitValue(char digit) {
    if (digit >= '0' && digit <= '9') return digit - '0';
    if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
    if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
    return -1;
}

std::string decode(std::string_view utf8) {
    std::string decoded;
    while (!utf8.empty() && decoded.size() < kLongestDecodedText) {
        if (utf8[0] != '%') {
            decoded.push_back(utf8[0]);
            utf8.remove_prefix(1);
            continue;
        }
        if (utf8.size() < 3) break;
        const int high = hexDigitValue(utf8[1]);
        const int low = hexDigitValue(utf8[2]);
        if (high < 0 || low < 0) break;
        decoded.push_back(static_cast<char>(high * 16 + low));
        utf8.remove_prefix(3);
    }
    return decoded;
}

}  // namespace

bool escape(const std::wstring& text, std::wstring& escaped) {
    if (text.empty()) {
        escaped.clear();
        return true;
    }
    if (text.size() > kLongestUrl) {  // no unit is encoded as less than one character
        escaped.clear();
        return false;
    }
    std::array<char, kLongestUrl * kUtf8BytesPerUnit> utf8;
    const int utf8Length =
        ::WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), utf8.data(),
                              static_cast<int>(utf8.size()), nullptr, nullptr);
    EncodedUrl url;
    if (utf8Length <= 0 || !encode({utf8.data(), static_cast<std::size_t>(utf8Length)}, url)) {
        escaped.clear();
        return false;
    }
    // ASCII, so as many UTF-16 units as bytes.
    const int length = static_cast<int>(url.view().size());
    escaped.resize(url.view().size());
    if (::MultiByteToWideChar(CP_THREAD_ACP, 0, url.view().data(), length, escaped.data(),
                              length) != length) {
        escaped.clear();
        return false;
    }
    return true;
}

bool unescape(const std::wstring& text, std::wstring& unescaped) {
    std::string utf8;
    // A text that cannot be converted is decoded as the empty text.
    wide2UTF8(text.c_str(), -1, utf8);
    return UTF82wide(decode(utf8).c_str(), -1, unescaped);
}

}  // namespace i18nstr
