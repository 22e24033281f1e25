#include <algorithm>
#include <cwctype>
#include <optional>
#include <string>
#include <string_view>

#include "tools/satellites/Catalogue.h"
#include "tools/satellites/Files.h"
#include "tools/satellites/TextRules.h"
#include "tools/satellites/Translate.h"

namespace satellites {

namespace {

constexpr std::wstring_view kPlain = L"AaCcDdEeGgHhIiJjKkLlNnOoRrSsTtUuWwYyZz";
constexpr std::wstring_view kAccented =
    L"\u00c5\u00e5\u00c7\u00e7\u00d0\u00f0\u00c9\u00e9\u011c\u011d\u0124\u0125\u00ce\u00ee\u0134"
    L"\u0135\u0136\u0137\u013b\u013c\u00d1\u00f1\u00d6\u00f6\u0154\u0155\u0160\u0161\u0162\u0163"
    L"\u00db\u00fb\u0174\u0175\u00dd\u00fd\u017d\u017e";
static_assert(kPlain.size() == kAccented.size());

constexpr std::wstring_view kBlanks = L" \t\r\n";
constexpr std::size_t kBrackets = 2;

wchar_t accented(wchar_t character) {
    const std::size_t position = kPlain.find(character);
    return position == std::wstring_view::npos ? character : kAccented[position];
}

/// Returns the length of the markup at the start of `text`, or 0 if `text` does not start with
/// markup. Markup is an access key with its "&", an entity such as &amp;, a tag such as <b>, or "%"
/// and the character after it. "%" is included because a message without inserts may contain %n.
std::size_t markupAt(std::wstring_view text) {
    if (text.front() == L'%') return std::min<std::size_t>(text.size(), 2);
    if (text.front() == L'<') {
        const std::size_t end = text.find(L'>');
        const bool isTag =
            text.size() > 1 && (text[1] == L'/' || text[1] == L'!' || std::iswalpha(text[1]));
        return isTag && end != std::wstring_view::npos ? end + 1 : 0;
    }
    if (text.front() != L'&' || text.size() < 2) return 0;
    std::size_t end = 1;
    while (end < text.size() && (text[end] == L'#' || std::iswalnum(text[end]))) ++end;
    return end > 1 && end < text.size() && text[end] == L';' ? end + 1 : 2;
}

void appendAltered(std::wstring& result, std::wstring_view words) {
    while (!words.empty()) {
        const std::size_t kept = markupAt(words);
        if (kept > 0) {
            result += words.substr(0, kept);
        } else {
            result += accented(words.front());
        }
        words.remove_prefix(kept > 0 ? kept : 1);
    }
}

}  // namespace

std::wstring pseudoTranslation(const std::wstring& text, unsigned growth) {
    // A string with embedded NULs is treated as a file filter, whose patterns must not change.
    if (text.find(L'\0') != std::wstring::npos) return text;

    const TextKind kind = kindOf(text);
    const std::wstring_view whole = text;
    const std::size_t tab = std::min(whole.find(L'\t'), whole.size());
    std::wstring_view label = whole.substr(0, tab);
    const std::size_t start = std::min(label.find_first_not_of(kBlanks), label.size());
    std::size_t end = label.find_last_not_of(kBlanks) + 1;
    // "%0" ends a message, so the closing bracket must precede "%0".
    const auto pieces = split(label.substr(0, end), TextKind::message);
    if (kind != TextKind::printf && !pieces.empty() && pieces.back().text == L"%0") end -= 2;
    if (start >= end || text.size() + kBrackets > kMaxStringLength) return text;

    std::wstring result(label.substr(0, start));
    result += L'[';
    for (const Piece& piece : split(label.substr(start, end - start), kind)) {
        if (piece.kind == Piece::Kind::words) {
            appendAltered(result, piece.text);
        } else {
            result += piece.text;
        }
    }
    const std::size_t padding = (end - start) * growth / 100 + (growth > 0 ? 1 : 0);
    result.append(std::min(padding, kMaxStringLength - kBrackets - text.size()), L'~');
    result += L']';
    result += whole.substr(end);
    return result;
}

void makePseudoSatellite(const std::wstring& modulePath, const std::wstring& culture,
                         unsigned growth, const std::wstring& target) {
    makeSatellite(readModule(modulePath), fileNameOf(modulePath), culture, std::nullopt, target,
                  [&](const std::wstring&, const std::wstring& text) {
                      return std::optional(pseudoTranslation(text, growth));
                  });
}

}  // namespace satellites
