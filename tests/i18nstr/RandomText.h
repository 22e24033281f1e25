#pragma once

#include <iterator>
#include <random>
#include <string>

/// Creates random strings, well-formed and ill-formed. The strings are the same in every run. No
/// string is empty or begins with a NUL.
class RandomText {
public:
    explicit RandomText(unsigned seed) : m_random(seed) {}

    /// Returns a UTF-16 string, usually with fewer than 200 code units.
    std::wstring wide() {
        std::wstring text;
        for (const char32_t code : codes()) {
            if (code > 0xFFFF) text += static_cast<wchar_t>(0xD7C0 + (code >> 10));
            text += static_cast<wchar_t>(code > 0xFFFF ? 0xDC00 | (code & 0x3FF) : code);
        }
        return text;
    }

    /// Returns a UTF-8 string, usually with fewer than 200 characters. In one third of the strings,
    /// random bytes are changed, and half of these strings are also truncated. Every string may
    /// contain encoded surrogates, which are ill-formed in UTF-8.
    std::string utf8() {
        std::string text;
        for (const char32_t code : codes()) append(code, text);
        if (below(3) == 0) damage(text);
        return text;
    }

    /// Returns 1 to 200 random bytes.
    std::string bytes() {
        std::string text(1 + below(200), '\0');
        for (char& each : text) each = anyByte();
        if (text[0] == '\0') text[0] = 'a';
        return text;
    }

private:
    unsigned below(unsigned end) { return static_cast<unsigned>(m_random()) % end; }
    char anyByte() { return static_cast<char>(below(256)); }

    // Returns a string that consists of 1 to 12 sequences of code points. All code points of a
    // sequence are in the same range.
    std::u32string codes() {
        struct Kind {
            char32_t first;
            char32_t last;
        };
        static constexpr Kind kAscii{0x01, 0x7F};
        static constexpr Kind kKinds[] = {
            {0x80, 0xFF},        {0x100, 0x2FF},   {0x300, 0x345},
            {0x346, 0x7FF},      {0x800, 0xD7FF},  {0xE000, 0xFFFF},
            {0x10000, 0x10FFFF}, {0xD800, 0xDFFF}, {0x00, 0x00},
        };
        const unsigned kinds = static_cast<unsigned>(m_random() & m_random());

        std::u32string text;
        for (unsigned runs = 1 + below(12); runs > 0; --runs) {
            const unsigned number = below(std::size(kKinds));
            const bool isWanted = (kinds >> number & 1) != 0;
            const Kind& kind = isWanted ? kKinds[number] : kAscii;
            for (unsigned length = 1 + below(below(2) == 0 ? 3 : 30); length > 0; --length) {
                text += kind.first + below(kind.last - kind.first + 1);
            }
        }
        if (text[0] == 0) text[0] = U'a';
        return text;
    }

    static void append(char32_t code, std::string& utf8) {
        const auto put = [&](char32_t oneByte) { utf8 += static_cast<char>(oneByte); };
        if (code < 0x80) return put(code);
        if (code < 0x800) {
            put(0xC0 | code >> 6);
        } else {
            if (code < 0x10000) {
                put(0xE0 | code >> 12);
            } else {
                put(0xF0 | code >> 18);
                put(0x80 | (code >> 12 & 0x3F));
            }
            put(0x80 | (code >> 6 & 0x3F));
        }
        put(0x80 | (code & 0x3F));
    }

    void damage(std::string& utf8) {
        for (unsigned changes = 1 + below(3); changes > 0; --changes) {
            utf8[below(static_cast<unsigned>(utf8.size()))] = anyByte();
        }
        if (below(2) == 0) utf8.resize(1 + below(static_cast<unsigned>(utf8.size())));
        if (utf8[0] == '\0') utf8[0] = 'a';
    }

    std::mt19937 m_random;
};
