#include "i18nres/SatelliteStrings.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "i18nres/ResourceBlock.h"
#include "i18nres/ResourceDirectory.h"

namespace i18nres {

namespace {

constexpr unsigned kGreatestBlock = 0xFFFF;  // no resource has a greater number
const WORD kStringTables = static_cast<WORD>(reinterpret_cast<ULONG_PTR>(RT_STRING));

/// What an enumeration hands to its callbacks. No exception may pass through the system's code.
struct BlockNumbers {
    std::vector<unsigned> numbers;
    std::exception_ptr failure;
};

BOOL CALLBACK collectBlock(HMODULE, const wchar_t*, wchar_t* name, LONG_PTR parameter) noexcept {
    auto& found = *reinterpret_cast<BlockNumbers*>(parameter);
    const auto number = reinterpret_cast<ULONG_PTR>(name);
    if (!IS_INTRESOURCE(name) || number == 0) return TRUE;  // no string lies in such a block
    try {
        found.numbers.push_back(static_cast<unsigned>(number));
    } catch (...) {
        found.failure = std::current_exception();
        return FALSE;
    }
    return TRUE;
}

BOOL CALLBACK countLanguage(HMODULE, const wchar_t*, const wchar_t*, WORD,
                            LONG_PTR count) noexcept {
    ++*reinterpret_cast<int*>(count);
    return TRUE;
}

/// Whether the answer to the question for a block is the same for every thread.
bool hasOneLanguage(HINSTANCE library, unsigned block) noexcept {
    int languages = 0;
    ::EnumResourceLanguagesW(library, RT_STRING, MAKEINTRESOURCEW(block), &countLanguage,
                             reinterpret_cast<LONG_PTR>(&languages));
    return languages == 1;
}

StringTable blockIn(HINSTANCE library, unsigned block) noexcept {
    auto found =
        ResourceDirectory(library).findForEverybody(kStringTables, static_cast<WORD>(block));
    if (!found) found = ResourceBlock::find(library, MAKEINTRESOURCEW(block), RT_STRING);
    if (!found || !found->isInItsFile()) return {nullptr, 0};
    return {found->data, found->size};
}

}  // namespace

std::wstring_view findString(HINSTANCE library, unsigned id) noexcept {
    const unsigned block = StringTable::blockOf(id);
    if (!library || block > kGreatestBlock) return {};
    return blockIn(library, block).entry(StringTable::positionOf(id));
}

SatelliteStrings::SatelliteStrings(HINSTANCE library) : m_library(library) {
    if (!library) return;

    BlockNumbers found;
    if (!::EnumResourceNamesW(library, RT_STRING, &collectBlock,
                              reinterpret_cast<LONG_PTR>(&found))) {
        const DWORD error = ::GetLastError();
        if (found.failure) std::rethrow_exception(found.failure);
        m_asksEachTime =
            error != ERROR_RESOURCE_DATA_NOT_FOUND && error != ERROR_RESOURCE_TYPE_NOT_FOUND;
        return;
    }
    std::sort(found.numbers.begin(), found.numbers.end());
    found.numbers.erase(std::unique(found.numbers.begin(), found.numbers.end()),
                        found.numbers.end());
    if (found.numbers.empty()) return;

    m_slots.assign(found.numbers.back() + 1, kNoSlot);
    m_blocks.resize(found.numbers.size());
    for (std::size_t slot = 0; slot < found.numbers.size(); ++slot) {
        m_slots[found.numbers[slot]] = static_cast<SlotNumber>(slot);
    }
}

std::wstring_view SatelliteStrings::find(unsigned id) noexcept {
    if (m_asksEachTime) return findString(m_library, id);

    const unsigned number = StringTable::blockOf(id);
    if (number >= m_slots.size() || m_slots[number] == kNoSlot) return {};
    Block& block = m_blocks[m_slots[number]];
    if (block.state == Block::State::notAsked) read(block, number);
    if (block.state == Block::State::askEachTime) return findString(m_library, id);
    return block.texts[StringTable::positionOf(id)];
}

void SatelliteStrings::read(Block& block, unsigned number) noexcept {
    if (!hasOneLanguage(m_library, number)) {
        block.state = Block::State::askEachTime;
        return;
    }
    const StringTable table = blockIn(m_library, number);
    for (unsigned position = 0; position < StringTable::kEntries; ++position) {
        block.texts[position] = table.entry(position);
    }
    block.state = Block::State::known;
}

}  // namespace i18nres
