#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

inline constexpr std::size_t kBytesPerLine = 16;

/// Lines of an offset, up to 16 bytes in hexadecimal, and the printable ones of them as text.
std::vector<std::wstring> hexDump(std::string_view bytes);
