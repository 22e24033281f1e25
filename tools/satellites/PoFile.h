#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace satellites {

/// An entry of a PO file: a text of the module and its translation.
struct PoEntry {
    std::wstring context;                ///< msgctxt.
    std::wstring text;                   ///< msgid: the module's text.
    std::wstring translation;            ///< msgstr; empty: not translated.
    std::vector<std::wstring> comments;  ///< Lines "#." for translators. Written, not read.
    bool isPrintf = false;               ///< The flag "c-format". Written, not read.
    bool isFuzzy = false;                ///< The flag "fuzzy": a translator has to check the entry.
    unsigned line = 0;                   ///< Line of its first keyword, from 1. Read, not written.
};

/// Thrown when a PO file cannot be read, with the position, counted from 1, in characters.
struct PoSyntaxError {
    unsigned line;
    unsigned column;
    std::wstring reason;
};

/// Reads a PO file in UTF-8. Obsolete entries (#~) and the header are skipped. Two entries with one
/// context, plural forms, another character set and bytes that are not UTF-8 are errors.
/// @throws PoSyntaxError.
std::vector<PoEntry> readPo(std::string_view bytes);

/// Writes a PO file in UTF-8. `header` is the text of the entry without a context: lines such as
/// "Language: fr\n".
std::string writePo(const PoEntry& header, const std::vector<PoEntry>& entries);

}  // namespace satellites
