#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace satellites {

/// An entry of a PO file: a text of the module and its translation.
struct PoEntry {
    std::wstring context;                ///< msgctxt.
    std::wstring text;                   ///< msgid: the module's text.
    std::wstring translation;            ///< msgstr; empty if the text is not translated.
    std::vector<std::wstring> comments;  ///< Lines "#." for translators. Written but not read.
    bool isPrintf = false;               ///< The flag "c-format". Written but not read.
    bool isFuzzy = false;                ///< The flag "fuzzy": a translator must check the entry.
    unsigned line = 0;                   ///< Line of its first keyword, from 1. Read, not written.
};

/// Thrown if a PO file cannot be read. Lines and columns are counted from 1, and columns are in
/// characters.
struct PoSyntaxError {
    unsigned line;
    unsigned column;
    std::wstring reason;
};

/// Reads a PO file in UTF-8. Obsolete entries (#~) and the header are skipped. It is an error if
/// two entries have the same context, if the file contains plural forms or bytes that are not valid
/// UTF-8, or if the header names a character set other than UTF-8 and ASCII.
/// @throws PoSyntaxError if the file has an error.
std::vector<PoEntry> readPo(std::string_view bytes);

/// Returns the contents of a PO file in UTF-8. `header` is the entry without a context. Its
/// translation consists of lines such as "Language: fr\n".
std::string writePo(const PoEntry& header, const std::vector<PoEntry>& entries);

}  // namespace satellites
