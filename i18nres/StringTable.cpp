#include "i18nres/StringTable.h"

#include <cstdint>

namespace i18nres {

static_assert(sizeof(wchar_t) == 2, "a wide character is a UTF-16 code unit");

StringTable::StringTable(const void* block, std::size_t size) noexcept {
    const bool aligned = reinterpret_cast<std::uintptr_t>(block) % alignof(wchar_t) == 0;
    if (block && aligned) m_units = {static_cast<const wchar_t*>(block), size / sizeof(wchar_t)};
}

std::wstring_view StringTable::entry(unsigned position) const noexcept {
    std::wstring_view rest = m_units;
    for (unsigned index = 0; !rest.empty(); ++index) {
        const std::size_t length = rest.front();
        rest.remove_prefix(1);
        if (length > rest.size()) return {};
        if (index == position) return rest.substr(0, length);
        rest.remove_prefix(length);
    }
    return {};
}

}  // namespace i18nres
