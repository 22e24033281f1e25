#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tools/satellites/ResourceFile.h"

namespace satellites {

/// Strings that are not empty, with their ids, in ascending order of the ids.
using Strings = std::vector<std::pair<unsigned, std::wstring>>;

/// Reads the strings of a file that are not empty, with their ids, in ascending order of the ids.
/// Owns a copy of their characters, in one block of memory.
class StringTable {
public:
    /// @throws Unreadable when a block of the table is truncated.
    explicit StringTable(const ResourceFile& file);

    std::size_t size() const noexcept { return m_strings.size(); }
    auto begin() const noexcept { return m_strings.begin(); }
    auto end() const noexcept { return m_strings.end(); }

private:
    std::unique_ptr<wchar_t[]> m_characters;
    std::vector<std::pair<unsigned, std::wstring_view>> m_strings;
};

/// The number of characters of the longest string: a string table counts them in 16 bits.
inline constexpr std::size_t kLongestString = 0xFFFF;

/// Finds one string as the library does: damage after the string, or in other blocks, is ignored.
/// Returns nothing for an empty string.
std::optional<std::wstring> findString(const ResourceFile& file, unsigned id);

/// Makes the block of the string table with the number `block` (counted from 1) from the strings
/// whose ids belong to it. Other strings are ignored.
std::vector<std::byte> makeStringBlock(unsigned block, const Strings& strings);

/// The number of the block that holds a string.
constexpr unsigned blockOf(unsigned id) { return id / 16 + 1; }

}  // namespace satellites
