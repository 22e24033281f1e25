#include "tools/satellites/TextRules.h"

#include <windows.h>

#include <algorithm>
#include <cwchar>
#include <iterator>
#include <set>
#include <utility>

namespace satellites {

namespace {

bool isDigit(wchar_t character) { return character >= L'0' && character <= L'9'; }

/// Returns the insert, escape or single "%" at the start of `text`, which must begin with "%".
Piece messagePieceAt(std::wstring_view text) {
    std::size_t end = 1;
    if (end == text.size()) return {Piece::Kind::words, text};
    if (text[1] < L'1' || text[1] > L'9') return {Piece::Kind::escape, text.substr(0, 2)};

    while (end < text.size() && end < 3 && isDigit(text[end])) ++end;  // at most two digits
    Piece insert{Piece::Kind::insert};
    insert.number = std::stoi(std::wstring(text.substr(1, end - 1)));
    insert.format = L"s";
    if (end < text.size() && text[end] == L'!') {
        const std::size_t close =
            text.find_first_not_of(L"-+#0123456789.*hlLIwdiouxXcCsSeEfFgGaAp", end + 1);
        if (close != std::wstring_view::npos && text[close] == L'!') {
            insert.format = text.substr(end + 1, close - end - 1);
            end = close + 1;
        }
    }
    // In FormatMessageW, the formats "s", "ls" and "ws" all insert wide text.
    if (insert.format == L"ls" || insert.format == L"ws") insert.format = L"s";
    insert.text = text.substr(0, end);
    return insert;
}

/// Returns the conversion or escape at the start of `text`, which must begin with "%". If the
/// conversion is invalid, the function returns only the "%", as a conversion with an empty format.
/// In printf, an invalid conversion has undefined behavior, so a translation must not add one.
Piece printfPieceAt(std::wstring_view text) {
    std::size_t end = 1;
    if (text.substr(0, 2) == L"%%") return {Piece::Kind::escape, text.substr(0, 2)};
    std::wstring format;
    const auto skipAny = [&](std::wstring_view characters) {
        while (end < text.size() && characters.find(text[end]) != std::wstring_view::npos) {
            if (text[end] == L'*') format += L'*';
            ++end;
        }
    };
    skipAny(L"-+ #0");
    skipAny(L"*0123456789");
    if (end < text.size() && text[end] == L'.') {
        ++end;
        skipAny(L"*0123456789");
    }
    for (const std::wstring_view size :
         {L"I64", L"I32", L"hh", L"ll", L"h", L"l", L"L", L"I", L"j", L"z", L"t", L"w"}) {
        if (text.substr(end, size.size()) != size) continue;
        format += size;
        end += size.size();
        break;
    }
    if (end == text.size() ||
        std::wstring_view(L"diouxXcCsSeEfFgGaApn").find(text[end]) == std::wstring_view::npos) {
        return {Piece::Kind::conversion, text.substr(0, 1)};
    }
    format += text[end] == L'i' ? L'd' : text[end];  // %i and %d are equivalent
    return {Piece::Kind::conversion, text.substr(0, end + 1), 0, std::move(format)};
}

/// Returns true if a piece shows that its string is a printf format. The function returns false for
/// conversions with a space, because "50 % of" contains "% o" but is ordinary text. It also returns
/// false for "%n", because "%n" is a line break in a message.
bool isCertainConversion(const Piece& piece) {
    return piece.kind == Piece::Kind::conversion && !piece.format.empty() &&
           piece.format.back() != L'n' && piece.text.find(L' ') == std::wstring_view::npos;
}

/// Returns true if an insert is probably a conversion with a width, such as %5d or %1.2f. `text`
/// starts at the "%" of the insert. The function returns false for %1d, because a conversion does
/// not need a width of 1.
bool isConversionWithWidth(const Piece& insert, std::wstring_view text) {
    const bool isFirst = insert.number == 1 && text.substr(insert.text.size(), 1) != L".";
    return !isFirst && isCertainConversion(printfPieceAt(text));
}

using Insert = std::pair<int, std::wstring>;  // number and format

std::set<Insert> insertsOf(std::wstring_view text) {
    std::set<Insert> inserts;
    for (Piece& piece : split(text, TextKind::message)) {
        if (piece.kind == Piece::Kind::insert) inserts.insert({piece.number, piece.format});
    }
    return inserts;
}

std::vector<std::wstring> conversionsOf(std::wstring_view text) {
    std::vector<std::wstring> conversions;
    for (Piece& piece : split(text, TextKind::printf)) {
        if (piece.kind == Piece::Kind::conversion) conversions.push_back(piece.format);
    }
    return conversions;
}

std::wstring nameOf(const Insert& insert) {
    std::wstring name = L"%" + std::to_wstring(insert.first);
    if (insert.second != L"s") name += L"!" + insert.second + L"!";
    return name;
}

std::vector<TextFinding> compareMessages(std::wstring_view original,
                                         std::wstring_view translation) {
    std::vector<TextFinding> findings;
    const std::set<Insert> expected = insertsOf(original);
    const std::set<Insert> inTranslation = insertsOf(translation);
    const auto hasNumber = [](const std::set<Insert>& inserts, int number) {
        return std::any_of(inserts.begin(), inserts.end(),
                           [&](const Insert& insert) { return insert.first == number; });
    };
    for (const Insert& insert : inTranslation) {
        if (expected.count(insert)) continue;
        findings.push_back({L"insert-mismatch",
                            nameOf(insert) +
                                (hasNumber(expected, insert.first) ? L" has another format than in "
                                                                   : L" is not an insert of ") +
                                L"the module's text " + inQuotes(original)});
    }
    for (const Insert& insert : expected) {
        if (hasNumber(inTranslation, insert.first)) continue;
        findings.push_back({L"insert-missing", nameOf(insert) + L" of the module's text " +
                                                   inQuotes(original) + L" is not used"});
    }
    return findings;
}

std::vector<TextFinding> compareConversions(std::wstring_view original,
                                            std::wstring_view translation) {
    const auto expected = conversionsOf(original);
    const auto inTranslation = conversionsOf(translation);
    const auto listed = [](const std::vector<std::wstring>& conversions) {
        std::wstring list;
        for (const std::wstring& each : conversions) list += (list.empty() ? L"%" : L" %") + each;
        return list.empty() ? std::wstring(L"none") : list;
    };
    if (inTranslation == expected) return {};
    const bool isShorter = inTranslation.size() < expected.size() &&
                           std::equal(inTranslation.begin(), inTranslation.end(), expected.begin());
    return {{isShorter ? L"insert-missing" : L"printf-mismatch",
             L"the conversions are " + listed(inTranslation) + L", in the module's text " +
                 inQuotes(original) + L" they are " + listed(expected)}};
}

}  // namespace

std::vector<Piece> split(std::wstring_view text, TextKind kind) {
    std::vector<Piece> pieces;
    std::size_t wordsStart = 0;  // start of the text that is not in a piece yet
    const auto endWords = [&](std::size_t end) {
        if (end > wordsStart)
            pieces.push_back({Piece::Kind::words, text.substr(wordsStart, end - wordsStart)});
    };
    for (std::size_t at = 0; kind != TextKind::plain && at < text.size();) {
        if (text[at] != L'%') {
            ++at;
            continue;
        }
        Piece piece = kind == TextKind::message ? messagePieceAt(text.substr(at))
                                                : printfPieceAt(text.substr(at));
        const std::size_t end = at + piece.text.size();
        if (piece.kind != Piece::Kind::words) {
            endWords(at);
            wordsStart = end;
            pieces.push_back(std::move(piece));
        }
        at = end;
    }
    endWords(text.size());
    return pieces;
}

TextKind kindOf(std::wstring_view text) {
    if (text.find(L'%') == std::wstring_view::npos) return TextKind::plain;
    std::size_t at = 0;
    for (const Piece& piece : split(text, TextKind::message)) {
        const bool isInsert = piece.kind == Piece::Kind::insert;
        if (isInsert && !isConversionWithWidth(piece, text.substr(at))) return TextKind::message;
        at += piece.text.size();
    }
    const auto pieces = split(text, TextKind::printf);
    const bool isPrintf = std::any_of(pieces.begin(), pieces.end(), isCertainConversion);
    return isPrintf ? TextKind::printf : TextKind::plain;
}

std::optional<wchar_t> accessKeyOf(std::wstring_view text) {
    text = text.substr(0, text.find(L'\t'));
    for (std::size_t at = 0; at + 1 < text.size(); ++at) {
        if (text[at] != L'&') continue;
        if (text[at + 1] != L'&') {
            const auto key = reinterpret_cast<wchar_t*>(static_cast<ULONG_PTR>(text[at + 1]));
            return static_cast<wchar_t>(reinterpret_cast<ULONG_PTR>(::CharUpperW(key)));
        }
        ++at;  // "&&" is shown as "&"
    }
    return std::nullopt;
}

std::wstring_view shortcutOf(std::wstring_view text) {
    const std::size_t tab = text.find(L'\t');
    return tab == std::wstring_view::npos ? std::wstring_view() : text.substr(tab + 1);
}

std::vector<TextFinding> compareInserts(std::wstring_view original, std::wstring_view translation) {
    TextKind kind = kindOf(original);
    // A plain string has no inserts or conversions, so its translation must not contain any.
    if (kind == TextKind::plain) kind = kindOf(translation);
    switch (kind) {
        case TextKind::message:
            return compareMessages(original, translation);
        case TextKind::printf:
            return compareConversions(original, translation);
        case TextKind::plain:
            break;
    }
    return {};
}

void appendEscaped(std::wstring& result, wchar_t character) {
    const bool isControl = character < L' ' || (character >= 0x7F && character < 0xA0);
    if (!isControl) {
        result += character;
        return;
    }
    wchar_t escape[5];
    std::swprintf(escape, std::size(escape), L"\\x%02x", unsigned{character});
    result += escape;
}

std::wstring inQuotes(std::wstring_view text) {
    constexpr std::size_t kMaxLength = 60;
    std::wstring_view shown = text.substr(0, kMaxLength);
    if (shown.size() < text.size() && IS_HIGH_SURROGATE(shown.back())) shown.remove_suffix(1);
    std::wstring result = L"\"";
    for (const wchar_t character : shown) {
        switch (character) {
            case L'\n':
                result += L"\\n";
                break;
            case L'\r':
                result += L"\\r";
                break;
            case L'\t':
                result += L"\\t";
                break;
            case L'\0':
                result += L"\\0";
                break;
            default:
                appendEscaped(result, character);
        }
    }
    if (shown.size() < text.size()) result += L"...";
    return result + L"\"";
}

}  // namespace satellites
