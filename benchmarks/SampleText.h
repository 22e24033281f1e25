#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace bench {

/// Sample text in UTF-16 and UTF-8. The samples differ in the number of bytes per character.
struct TextKind {
    const char* name;
    const wchar_t* wide;
    const char* utf8;
};

inline constexpr TextKind kAscii{"ASCII", L"Last trade 12:45, volume 3,200. ",
                                 "Last trade 12:45, volume 3,200. "};
inline constexpr TextKind kLatin{
    "Latin", L"Derni\u00e8re s\u00e9ance: hausse limit\u00e9e \u00e0 Gen\u00e8ve. ",
    "Derni\xc3\xa8re s\xc3\xa9"
    "ance: hausse limit\xc3\xa9"
    "e \xc3\xa0 Gen\xc3\xa8ve. "};
/// Typical European text or markup: long runs of ASCII characters, with few other characters
/// between them.
inline constexpr TextKind kFewAccents{
    "few accents",
    L"The price of a coffee at the caf\u00e9 rose by a tenth to \u20ac 3.30 last week. ",
    "The price of a coffee at the caf\xc3\xa9 rose by a tenth to \xe2\x82\xac 3.30 last week. "};
inline constexpr TextKind kCjk{
    "CJK", L"\u65e5\u7d4c\u5e73\u5747\u682a\u4fa1\u306f\u5c0f\u5e45\u306b\u7d9a\u4f38\u3002",
    "\xe6\x97\xa5\xe7\xb5\x8c\xe5\xb9\xb3\xe5\x9d\x87\xe6\xa0\xaa\xe4\xbe\xa1\xe3\x81\xaf\xe5\xb0"
    "\x8f\xe5\xb9\x85\xe3\x81\xab\xe7\xb6\x9a\xe4\xbc\xb8\xe3\x80\x82"};
inline constexpr TextKind kEmoji{
    "emoji", L"\U0001f4c8\U0001f600\U0001f680\U0001f4b6",
    "\xf0\x9f\x93\x88\xf0\x9f\x98\x80\xf0\x9f\x9a\x80\xf0\x9f\x92\xb6"};
inline constexpr TextKind kMixed{
    "mixed",
    L"Nikkei \u65e5\u7d4c 225: \u00a538,596 \u5c0f\u5e45\u7d9a\u4f38 \u2192 +1,2 \u20ac "
    L"\U0001f4c8 ",
    "Nikkei \xe6\x97\xa5\xe7\xb5\x8c 225: \xc2\xa5"
    "38,596 \xe5\xb0\x8f\xe5\xb9\x85\xe7\xb6\x9a\xe4\xbc\xb8 \xe2\x86\x92 +1,2 \xe2\x82\xac "
    "\xf0\x9f\x93\x88 "};

/// Text with letters that cannot be represented in code page 1252.
inline constexpr wchar_t kPolish[] =
    L"Ostatnie notowania: spadek cen \u017cyta, wzrost \u0142\u0105cznych obrot\u00f3w. ";

/// The text of kLatin in code page 1252.
inline constexpr std::string_view kLatinIn1252 =
    "Derni\xe8re s\xe9"
    "ance: hausse limit\xe9"
    "e \xe0 Gen\xe8ve. ";

/// Returns true if the code unit is not the first code unit of a character.
constexpr bool isInsideCharacter(char unit) { return (unit & 0xC0) == 0x80; }
constexpr bool isInsideCharacter(wchar_t unit) { return (unit & 0xFC00) == 0xDC00; }

/// Repeats `pattern` until the text has `size` code units. The text is shorter if its last
/// character would otherwise be incomplete.
template <class Char>
std::basic_string<Char> filled(std::basic_string_view<Char> pattern, std::size_t size) {
    std::basic_string<Char> text;
    text.reserve(size + pattern.size());
    while (text.size() <= size) text += pattern;
    while (isInsideCharacter(text[size])) --size;
    text.resize(size);
    return text;
}

}  // namespace bench
