#include "tools/satellites/StringTable.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "tools/satellites/ByteReader.h"
#include "tools/satellites/ByteWriter.h"
#include "tools/satellites/Failure.h"

namespace satellites {

namespace {

constexpr unsigned kStringsOfABlock = 16;

}  // namespace

StringTable::StringTable(const ResourceFile& file) {
    const auto blocks = file.ofType(RT_STRING);
    std::size_t bytes = 0;
    for (const Resource& block : blocks) bytes += block.data.size();
    m_characters = std::make_unique<wchar_t[]>(bytes / sizeof(wchar_t));

    wchar_t* next = m_characters.get();
    for (const Resource& block : blocks) {
        // Skip blocks that have a name or the number 0, because no string id belongs to such a
        // block.
        if (!block.name.string.empty() || block.name.number == 0) continue;
        const unsigned first = (block.name.number - 1u) * kStringsOfABlock;
        ByteReader reader(block.data);
        for (unsigned id = first; id < first + kStringsOfABlock; ++id) {
            const std::size_t length = reader.read<WORD>();
            const auto text = reader.take(length * sizeof(wchar_t));
            if (!reader.ok()) {
                throw Unreadable{L"block " + block.name.text() +
                                 L" of its string table is cut off"};
            }
            if (text.empty()) continue;
            std::memcpy(next, text.data(), text.size());
            m_strings.emplace_back(id, std::wstring_view(next, length));
            next += length;
        }
    }
}

std::optional<std::wstring> findString(const ResourceFile& file, unsigned id) {
    ByteReader reader(file.find(RT_STRING, ResourceId(blockOf(id))));
    std::wstring text;
    for (unsigned position = 0; position <= id % kStringsOfABlock; ++position) {
        text = reader.units(reader.read<WORD>());
    }
    if (!reader.ok() || text.empty()) return std::nullopt;
    return text;
}

std::vector<std::byte> makeStringBlock(unsigned block, const Strings& strings) {
    const unsigned first = (block - 1) * kStringsOfABlock;
    auto next = std::lower_bound(strings.begin(), strings.end(), std::pair(first, std::wstring()));
    ByteWriter writer;
    for (unsigned id = first; id < first + kStringsOfABlock; ++id) {
        std::wstring_view text;
        if (next != strings.end() && next->first == id) text = (next++)->second;
        writer.write(static_cast<WORD>(text.size()));
        writer.units(text);
    }
    return writer.take();
}

}  // namespace satellites
