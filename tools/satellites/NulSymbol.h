#pragma once

#include <string>

namespace satellites {

/// Represents an embedded NUL in a PO file, because PO files cannot contain a NUL. Windows programs
/// use embedded NULs to separate the parts of a file filter. The /n option of the resource compiler
/// adds a NUL to the end of each string in the string table.
inline constexpr wchar_t kNulSymbol = L'\u2400';

/// In a PO file, precedes each kNulSymbol or kEscapeSymbol that represents itself.
inline constexpr wchar_t kEscapeSymbol = L'\u241B';

/// Returns a string of a module or satellite as it is written to a PO file. Each NUL becomes
/// kNulSymbol. kEscapeSymbol is inserted before each kNulSymbol or kEscapeSymbol that `text`
/// already contains. A string in a menu or dialog cannot contain a NUL, so it is returned
/// unchanged.
/// @param context  Identifies the string, for example "STRING.7".
std::wstring withNulSymbols(const std::wstring& context, const std::wstring& text);

/// Reverses withNulSymbols(). A kEscapeSymbol that does not precede kNulSymbol or kEscapeSymbol is
/// an ordinary character.
std::wstring withoutNulSymbols(const std::wstring& context, const std::wstring& text);

}  // namespace satellites
