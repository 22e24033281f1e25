#include "tools/satellites/StringTable.h"

#include <vector>

#include "tools/satellites/ByteReader.h"
#include "tools/satellites/ByteWriter.h"
#include "tools/satellites/Failure.h"

namespace satellites {

namespace {

constexpr unsigned kStringsOfABlock = 16;

}  // namespace

Strings readStrings(const ResourceFile& file) {
    Strings strings;
    for (const Resource& block : file.ofType(RT_STRING)) {
        // no id belongs to this block
        if (!block.name.name.empty() || block.name.number == 0) continue;
        ByteReader reader(block.data);
        for (unsigned position = 0; position < kStringsOfABlock; ++position) {
            std::wstring text = reader.units(reader.read<WORD>());
            if (!reader.ok()) {
                throw Unreadable{L"block " + block.name.text() +
                                 L" of its string table is cut off"};
            }
            if (text.empty()) continue;
            strings[(block.name.number - 1u) * kStringsOfABlock + position] = std::move(text);
        }
    }
    return strings;
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
    ByteWriter writer;
    for (unsigned position = 0; position < kStringsOfABlock; ++position) {
        const auto found = strings.find((block - 1) * kStringsOfABlock + position);
        std::wstring_view text;
        if (found != strings.end()) text = found->second;
        writer.write(static_cast<WORD>(text.size()));
        writer.units(text);
    }
    return writer.take();
}

}  // namespace satellites
