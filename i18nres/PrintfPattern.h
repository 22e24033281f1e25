#pragma once

#include <string_view>

namespace i18nres {

/// Whether the C runtime's formatters take `pattern` without a call of the invalid-parameter
/// handler, which ends the process unless the program has set one. It is not called for known
/// conversions, with any flags, widths, precisions and argument sizes, but for "%n", for letters
/// that are no conversion, and for a percent sign that stands alone at the end.
bool isPrintfPattern(std::wstring_view pattern) noexcept;

}  // namespace i18nres
