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

/// Non-empty strings with their ids, sorted by id.
using Strings = std::vector<std::pair<unsigned, std::wstring>>;

/// Contains the non-empty strings of a file with their ids, sorted by id. The object stores its own
/// copy of the characters in a single allocation.
class StringTable {
public:
    /// @throws Unreadable if a block of the table is truncated.
    explicit StringTable(const ResourceFile& file);

    std::size_t size() const noexcept { return m_strings.size(); }
    auto begin() const noexcept { return m_strings.begin(); }
    auto end() const noexcept { return m_strings.end(); }

private:
    std::unique_ptr<wchar_t[]> m_characters;
    std::vector<std::pair<unsigned, std::wstring_view>> m_strings;
};

/// Maximum length of a string in characters. A string table stores the length in 16 bits.
inline constexpr std::size_t kMaxStringLength = 0xFFFF;

/// Finds one string in the same way as I18nResource.dll. Damage after the string and in other
/// blocks is ignored. Returns std::nullopt if the string is missing or empty.
std::optional<std::wstring> findString(const ResourceFile& file, unsigned id);

/// Creates one block of a string table. Strings whose ids do not belong to the block are ignored.
/// `block` is the one-based number of the block.
std::vector<std::byte> makeStringBlock(unsigned block, const Strings& strings);

/// Returns the one-based number of the block that contains the string with the given id.
constexpr unsigned blockOf(unsigned id) { return id / 16 + 1; }

}  // namespace satellites
