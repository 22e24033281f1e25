#pragma once

#include <cstddef>
#include <string_view>

namespace platform {

/// Copies `text` and a terminator into `buffer` if both fit, and otherwise stores the empty text.
/// The C runtime's own bounded copies would call the process-wide invalid-parameter handler for a
/// text that does not fit; this never does.
///
/// @param buffer  May be null when `size` is 0.
/// @param size    Of `buffer`, in characters.
/// @return whether the text was copied.
bool copyWhole(wchar_t* buffer, std::size_t size, std::wstring_view text) noexcept;

}  // namespace platform
