#pragma once

#include <cstddef>
#include <span>
#include <string_view>

#include "i18nstr/SystemConverters.h"

namespace i18nstr {

/// Converts well-formed text between UTF-8 and UTF-16. If the text is ill-formed, convert() returns
/// false, and the caller converts the whole text with the system's functions instead. The functions
/// do not allocate memory.
struct Utf8 {
    static const CodePage& codePage() noexcept { return kUtf8; }

    /// Returns the length of the converted text in UTF-16 code units or in bytes. The length is
    /// exact only if `text` is well-formed.
    static std::size_t convertedLength(std::string_view text) noexcept;
    static std::size_t convertedLength(std::wstring_view text) noexcept;

    /// Converts `text`. The length of the output must be convertedLength(text). Nothing is written
    /// outside the output, even if the text is ill-formed.
    ///
    /// @return true if the text was converted; false if it is ill-formed. If the text is
    ///         ill-formed, the contents of the output are unspecified.
    static bool convert(std::string_view text, std::span<wchar_t> wide) noexcept;
    static bool convert(std::wstring_view text, std::span<char> utf8) noexcept;
};

}  // namespace i18nstr
