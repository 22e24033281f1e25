#pragma once

#include <string>
#include <string_view>

namespace satellites {

/// Converts `text` to a JSON string in double quotation marks.
std::wstring json(std::wstring_view text);

}  // namespace satellites
