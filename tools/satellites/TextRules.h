#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace satellites {

/// Specifies how a program uses a string. kindOf() derives the kind from the string itself.
enum class TextKind {
    plain,    ///< A string that is shown unchanged.
    message,  ///< A message for FormatMessageW, with inserts such as %1 or %2!d!.
    printf    ///< A format for the printf functions, with conversions such as %d.
};
TextKind kindOf(std::wstring_view text);

/// A part of a string.
struct Piece {
    enum class Kind {
        words,       ///< Text for the translator.
        insert,      ///< An insert of a message, such as %1!d!. Has a `number` and a `format`.
        conversion,  ///< A printf conversion, such as %5.2f. If it is invalid, `format` is empty.
        escape       ///< An escape sequence, such as %n in a message or %% in a printf format.
    };
    Kind kind = Kind::words;
    std::wstring_view text{};
    int number = 0;
    /// For an insert, the part between the exclamation marks, or "s" if the insert has no such
    /// part. For a conversion, the size and the type, such as "ld" for %5ld. The format of a
    /// conversion starts with one "*" for each width or precision that is passed as an argument.
    /// For example, the format for %*d is "*d".
    std::wstring format{};
};

/// Splits a string into pieces according to the rules for `kind`. Together, the pieces contain the
/// whole string.
std::vector<Piece> split(std::wstring_view text, TextKind kind);

/// Returns the access key of a string, in uppercase. The access key is the character after the
/// "&". Returns std::nullopt if the string has no access key.
std::optional<wchar_t> accessKeyOf(std::wstring_view text);

/// Returns the text after the first tab, or an empty string if there is no tab. In a menu entry,
/// this text is the shortcut.
std::wstring_view shortcutOf(std::wstring_view text);

/// A problem with a translated string. `code` is part of the program's output.
struct TextFinding {
    const wchar_t* code;
    std::wstring message;
};

/// Compares the inserts or conversions in a translation with those in the original string.
std::vector<TextFinding> compareInserts(std::wstring_view original, std::wstring_view translation);

/// Appends a character. Control characters are appended as escape sequences such as \x1b, so that a
/// terminal does not interpret control characters from untrusted files.
void appendEscaped(std::wstring& result, wchar_t character);

/// Returns a string in quotes, for use in a message. Control characters become escape sequences,
/// and a string of more than 60 characters is truncated.
std::wstring inQuotes(std::wstring_view text);

}  // namespace satellites
