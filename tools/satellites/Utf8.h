#pragma once

#include <string>
#include <string_view>

namespace satellites {

std::string utf8(std::wstring_view text);
std::wstring wide(std::string_view utf8Text);

/// Returns the position of the first byte that is not part of valid UTF-8, or npos if all bytes are
/// valid.
std::size_t firstInvalidUtf8(std::string_view bytes);

}  // namespace satellites
