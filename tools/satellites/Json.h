#pragma once

#include <string>
#include <string_view>

namespace satellites {

/// Returns a text as a JSON string, including the quotes.
std::wstring json(std::wstring_view text);

}  // namespace satellites
