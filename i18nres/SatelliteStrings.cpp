#include "i18nres/SatelliteStrings.h"

#include <span>

#include "i18nres/ResourceBlock.h"
#include "i18nres/ResourceDirectory.h"

namespace i18nres {

namespace {

using Result = ResourceDirectory::Result;

const WORD kStringTables = LOWORD(reinterpret_cast<ULONG_PTR>(RT_STRING));
constexpr unsigned kMaxBlock = 0xFFFF;  // resource identifiers have 16 bits

StringTable tableIn(const ResourceBlock& block) noexcept {
    if (!block.hasValidBounds()) return {nullptr, 0};
    return {block.data, block.size};
}

}  // namespace

std::wstring_view findString(HINSTANCE library, unsigned id) noexcept {
    const unsigned number = StringTable::blockOf(id);
    if (!library || number > kMaxBlock) return {};

    ResourceBlock block;
    const Result result =
        ResourceDirectory(library).find(kStringTables, static_cast<WORD>(number), block);
    if (result == Result::missing) return {};
    if (result == Result::dependsOnThread) {
        const auto found = ResourceBlock::find(library, MAKEINTRESOURCEW(number), RT_STRING);
        if (!found) return {};
        block = *found;
    }
    return tableIn(block).entry(StringTable::positionOf(id));
}

SatelliteStrings::SatelliteStrings(HINSTANCE library) : m_library(library) {
    const ResourceDirectory directory(library);
    std::span<const ResourceDirectory::Entry> entries;
    m_mayBeIncomplete = directory.list(kStringTables, entries) == Result::dependsOnThread;
    for (const ResourceDirectory::Entry& entry : entries) {
        ResourceBlock block;
        const Result result = directory.find(kStringTables, static_cast<WORD>(entry.Name), block);
        if (result == Result::dependsOnThread) m_mayBeIncomplete = true;
        if (result != Result::found) continue;
        Texts& texts = m_blocks[entry.Name];
        for (unsigned position = 0; position < StringTable::kEntries; ++position) {
            texts[position] = tableIn(block).entry(position);
        }
    }
}

std::wstring_view SatelliteStrings::find(unsigned id) const noexcept {
    const auto found = m_blocks.find(StringTable::blockOf(id));
    if (found != m_blocks.end()) return found->second[StringTable::positionOf(id)];
    return m_mayBeIncomplete ? findString(m_library, id) : std::wstring_view();
}

}  // namespace i18nres
