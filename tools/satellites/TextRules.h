#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace satellites {

/// The use of a text in a program, derived from the text itself.
enum class TextKind {
    plain,    ///< Unchanged text.
    message,  ///< A pattern of FormatMessageW: it has inserts such as %1 or %2!d!.
    printf    ///< A pattern of the printf functions: it has conversions such as %d.
};
TextKind kindOf(std::wstring_view text);

/// A piece of a text.
struct Piece {
    enum class Kind {
        words,       ///< Text for the translator.
        insert,      ///< %1!d!, of a message: `number` and `format` are set.
        conversion,  ///< %5.2f, of printf: `format` is set, but for a "%" that begins none.
        escape       ///< %% or %n or %0, and in a printf text %%.
    };
    Kind kind = Kind::words;
    std::wstring_view text{};
    int number = 0;
    /// Of an insert: the part between the exclamation marks, "s" if there is none. Of a conversion:
    /// one "*" for each width or precision that is an argument, then size and type.
    std::wstring format{};
};

/// Splits a text into pieces by the rules of one kind. The pieces add up to the text.
std::vector<Piece> split(std::wstring_view text, TextKind kind);

/// Returns the character after the "&" that marks the access key, in upper case.
std::optional<wchar_t> accessKeyOf(std::wstring_view text);

/// Returns the text after the first tab, which names the shortcut of a menu entry; empty without a
/// tab.
std::wstring_view shortcutOf(std::wstring_view text);

/// The problems of a translated text. The names of the codes are part of the program's output.
struct TextFinding {
    const wchar_t* code;
    std::wstring message;
};

/// Compares the inserts or conversions of a translation with those of the module's text.
std::vector<TextFinding> compareInserts(std::wstring_view original, std::wstring_view translation);

/// Appends a character; a control character is appended as an escape such as \x1b. Texts come from
/// untrusted files, and a terminal executes control characters.
void appendVisibly(std::wstring& result, wchar_t character);

/// Quotes a text for a message, with its control characters as escapes, truncated after 60
/// characters.
std::wstring inQuotes(std::wstring_view text);

}  // namespace satellites
