#pragma once

#include <cstddef>
#include <string_view>

namespace platform {

/// Copies `text` and a terminator into `buffer` if both fit. Otherwise, stores an empty string.
/// Unlike wcscpy_s, the function does not call the invalid parameter handler if the text does not
/// fit.
///
/// @param buffer  May be null. Nothing is stored if `buffer` is null or `size` is 0.
/// @param size    Size of `buffer` in characters, including the terminator.
/// @return true if the text was copied; false if it does not fit, if `buffer` is null, or if `size`
///         is 0.
bool copyWhole(wchar_t* buffer, std::size_t size, std::wstring_view text) noexcept;

}  // namespace platform
