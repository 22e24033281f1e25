#include "i18nstr/i18nstr.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>
#include <string_view>

#include "i18nstr/Sse2.h"
#include "i18nstr/SystemConverters.h"
#include "i18nstr/Utf8.h"

namespace i18nstr {
namespace {

constexpr std::size_t kMaxUrlLength = 2083;     // in characters, without the terminator
constexpr std::size_t kMaxDecodedBytes = 2084;  // bytes

// A percent sign is not encoded, because it may begin an escape sequence that the text already
// contains.
constexpr bool needsEncoding(char byte) {
    constexpr std::string_view kUnsafe = " \"#$&+,;<=>?@[\\]^`{|}";
    return byte < ' ' || byte > '~' || kUnsafe.find(byte) != std::string_view::npos;
}

// The characters that encode a byte: the byte itself, or a percent sign and two digits. The first
// `length` characters are used, and the others are NULs.
struct EncodedByte {
    std::array<wchar_t, 4> characters;
    unsigned length;
};

constexpr EncodedByte encodeByte(unsigned char byte) {
    constexpr wchar_t kDigits[] = L"0123456789abcdef";
    if (!needsEncoding(static_cast<char>(byte))) return {{byte}, 1};
    return {{L'%', kDigits[byte / 16], kDigits[byte % 16]}, 3};
}

constexpr auto kEncodedBytes = [] {
    std::array<EncodedByte, 256> all{};
    for (unsigned byte = 0; byte < all.size(); ++byte) {
        all[byte] = encodeByte(static_cast<unsigned char>(byte));
    }
    return all;
}();

// Returns true if each of the 16 bytes is a letter, a digit or one of "-./:_". These characters are
// not encoded, and they are the most frequent characters in URLs.
bool needNoEncoding(__m128i bytes) {
    const __m128i lowerCase = _mm_or_si128(bytes, sse2::allBytes('a' - 'A'));
    const __m128i letterMask = sse2::bytesFromTo('a', 'z', lowerCase);
    const __m128i digitMask = sse2::bytesFromTo('-', ':', bytes);  // "-./", the digits and ":"
    const __m128i underscoreMask = _mm_cmpeq_epi8(bytes, sse2::allBytes('_'));
    const __m128i mask = _mm_or_si128(letterMask, _mm_or_si128(digitMask, underscoreMask));
    return sse2::highBits(mask) == sse2::kAllBytes;
}

// Builds an encoded URL of at most kMaxUrlLength characters.
class EncodedUrl {
public:
    bool append(std::string_view utf8) {
        while (utf8.size() >= sse2::kBytes) {
            if (!appendVector(utf8.data())) return false;
            utf8.remove_prefix(sse2::kBytes);
        }
        return appendEach(utf8);
    }

    std::wstring_view view() const { return {m_text.data(), m_length}; }

private:
    bool appendVector(const char* utf8) {
        const __m128i bytes = sse2::load(utf8);
        const bool fits = kMaxUrlLength - m_length >= sse2::kBytes;
        if (!fits || !needNoEncoding(bytes)) return appendEach({utf8, sse2::kBytes});
        sse2::storeWidened(m_text.data() + m_length, bytes);
        m_length += sse2::kBytes;
        return true;
    }

    bool appendEach(std::string_view utf8) {
        for (const char byte : utf8) {
            const auto& [characters, length] = kEncodedBytes[static_cast<unsigned char>(byte)];
            if (length > kMaxUrlLength - m_length) return false;
            // Always copy four characters, to avoid a branch. The characters for the next byte
            // overwrite the excess characters.
            std::copy(characters.begin(), characters.end(), m_text.begin() + m_length);
            m_length += length;
        }
        return true;
    }

    // The array has three more characters, because appendEach() always copies four characters.
    std::array<wchar_t, kMaxUrlLength + 3> m_text;
    std::size_t m_length = 0;
};

// Converts text to UTF-8. Returns the number of bytes written, or 0 if the result does not fit into
// the buffer or if the system cannot convert the text.
std::size_t toUtf8(std::wstring_view text, std::span<char> buffer) {
    const std::size_t length = Utf8::convertedLength(text);
    if (length > buffer.size())
        return 0;  // if the text is ill-formed, the system's result would be even longer
    if (Utf8::convert(text, buffer.first(length))) return length;
    const int converted = convert(kUtf8, text.data(), static_cast<int>(text.size()), buffer.data(),
                                  static_cast<int>(buffer.size()));
    return converted > 0 ? static_cast<std::size_t>(converted) : 0;
}

int hexDigitValue(char digit) {
    if (digit >= '0' && digit <= '9') return digit - '0';
    if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
    if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
    return -1;
}

// Decodes the text in place. The result is never longer than the text. Decoding ends at the first
// malformed escape sequence, or after kMaxDecodedBytes bytes.
void decode(std::string& utf8) {
    std::size_t length = 0;
    for (std::size_t next = 0; next < utf8.size() && length < kMaxDecodedBytes; ++length) {
        if (utf8[next] != '%') {
            utf8[length] = utf8[next++];
            continue;
        }
        if (utf8.size() - next < 3) break;
        const int high = hexDigitValue(utf8[next + 1]);
        const int low = hexDigitValue(utf8[next + 2]);
        if (high < 0 || low < 0) break;
        utf8[length] = static_cast<char>(high * 16 + low);
        next += 3;
    }
    utf8.resize(length);
}

}  // namespace

bool escape(const std::wstring& text, std::wstring& escaped) {
    if (text.empty()) {
        escaped.clear();
        return true;
    }
    // If the UTF-8 text does not fit into this array, the encoded text would also be too long,
    // because each byte becomes at least one character.
    std::array<char, kMaxUrlLength> utf8;
    const std::size_t utf8Length = toUtf8(text, utf8);
    EncodedUrl url;
    if (utf8Length == 0 || !url.append({utf8.data(), utf8Length})) {
        escaped.clear();
        return false;
    }
    escaped.assign(url.view());
    return true;
}

bool unescape(const std::wstring& text, std::wstring& unescaped) {
    std::string utf8;
    // Compatibility: if this conversion fails, unescape() does not fail, because callers expect the
    // empty string.
    wide2UTF8(text.c_str(), -1, utf8);
    decode(utf8);
    return UTF82wide(utf8.c_str(), -1, unescaped);
}

}  // namespace i18nstr
