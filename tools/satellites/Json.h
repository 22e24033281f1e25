#pragma once

#include <string>
#include <string_view>

namespace satellites {

/// Returns a text as a JSON string, with its quotes.
std::wstring json(std::wstring_view text);

}  // namespace satellites
