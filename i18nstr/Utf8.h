#pragma once

#include <cstddef>
#include <span>
#include <string_view>

#include "i18nstr/SystemConverters.h"

namespace i18nstr {

/// Converts well-formed text between UTF-8 and UTF-16. A conversion ends with false at the first
/// ill-formed sequence; its caller then leaves the whole text to the system. No function allocates.
struct Utf8 {
    static const CodePage& codePage() noexcept { return kUtf8; }

    /// Returns the number of units that the result has if `text` is well-formed.
    static std::size_t convertedLength(std::string_view text) noexcept;
    static std::size_t convertedLength(std::wstring_view text) noexcept;

    /// Converts `text` into an output of convertedLength(text) units. Nothing is written outside of
    /// the output, whatever the text.
    ///
    /// @return false, with undefined contents in the output, when the text is ill-formed.
    static bool convert(std::string_view text, std::span<wchar_t> wide) noexcept;
    static bool convert(std::wstring_view text, std::span<char> utf8) noexcept;
};

}  // namespace i18nstr
