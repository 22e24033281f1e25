#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace satellites {

/// An entry of a PO file: a string of the module and its translation.
struct PoEntry {
    std::wstring context;                ///< msgctxt.
    std::wstring text;                   ///< msgid: the module's string.
    std::wstring translation;            ///< msgstr; empty if the string is not translated.
    std::vector<std::wstring> comments;  ///< "#." lines for translators. readPo() ignores them.
    bool isPrintf = false;               ///< The "c-format" flag. readPo() ignores it.
    bool isFuzzy = false;                ///< The "fuzzy" flag: a translator must check the entry.
    unsigned line = 0;  ///< One-based line number of the first keyword. writePo() ignores it.
};

/// Thrown if a PO file cannot be read. Lines and columns are one-based, and columns are in
/// characters.
struct PoSyntaxError {
    unsigned line;
    unsigned column;
    std::wstring reason;
};

/// Reads a PO file in UTF-8. Obsolete entries (#~) and the header are skipped. The file is invalid
/// in the following cases:
/// - Two entries have the same context.
/// - The file contains plural forms or bytes that are not valid UTF-8.
/// - The header specifies a character set other than UTF-8 or ASCII.
/// @throws PoSyntaxError if the file is invalid.
std::vector<PoEntry> readPo(std::string_view bytes);

/// Formats a header and entries as a PO file in UTF-8, and returns the contents of the file.
/// `header` is the entry without a context. The translation of `header` consists of lines such as
/// "Language: fr\n".
std::string writePo(const PoEntry& header, const std::vector<PoEntry>& entries);

}  // namespace satellites
