#pragma once

#include <string_view>

namespace i18nres {

/// Whether the formatters of the C runtime accept `pattern` without a call of the invalid-parameter
/// handler, which ends the process unless the program has set one. They accept known conversions
/// with any flags, widths, precisions and argument sizes. They call the handler for "%n", for
/// letters that are not conversions, and for a single "%" at the end.
bool isPrintfPattern(std::wstring_view pattern) noexcept;

}  // namespace i18nres
