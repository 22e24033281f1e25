#pragma once

#include <string_view>

namespace i18nres {

/// Returns true if the printf functions of the C runtime accept `pattern` without calling the
/// invalid parameter handler. The default handler ends the process, but a program can set its own
/// handler. The printf functions accept known conversions with any flags, width, precision and
/// argument size. They call the handler for "%n", for unknown conversions, and for a single "%" at
/// the end.
bool isPrintfPattern(std::wstring_view pattern) noexcept;

}  // namespace i18nres
