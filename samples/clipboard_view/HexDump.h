#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

inline constexpr std::size_t kBytesPerLine = 16;

/// Returns the lines of a hex dump. Each line contains the offset, up to 16 bytes in hexadecimal,
/// and the same bytes as text. Dots replace bytes that are not printable ASCII.
std::vector<std::wstring> hexDump(std::string_view bytes);
