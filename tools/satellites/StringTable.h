#pragma once

#include <map>
#include <optional>
#include <string>

#include "tools/satellites/ResourceFile.h"

namespace satellites {

/// The strings of a file that are not empty, by id.
using Strings = std::map<unsigned, std::wstring>;

/// The number of characters of the longest string: a string table counts them in 16 bits.
inline constexpr std::size_t kLongestString = 0xFFFF;

/// Reads the string table of a file.
/// @throws Unreadable when a block is truncated.
Strings readStrings(const ResourceFile& file);

/// Finds one string as the library does: damage after the string, or in other blocks, is ignored.
/// Returns nothing for an empty string.
std::optional<std::wstring> findString(const ResourceFile& file, unsigned id);

/// Makes the block of the string table with the number `block` (counted from 1) from the strings
/// whose ids belong to it. Other strings are ignored.
std::vector<std::byte> makeStringBlock(unsigned block, const Strings& strings);

/// The number of the block that holds a string.
constexpr unsigned blockOf(unsigned id) { return id / 16 + 1; }

}  // namespace satellites
