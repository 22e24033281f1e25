#include "i18nres/StringDecorations.h"

#include <cstddef>
#include <cwchar>

#include "i18nres/StringSwitches.h"

namespace i18nres {

StringOrigin::StringOrigin(const wchar_t* module, unsigned id) noexcept {
    const int written =
        std::swprintf(m_room, std::size(m_room), L"%ls(%d):", module, static_cast<int>(id));
    // If the text does not fit, swprintf returns -1 or the length that the text would have,
    // depending on the C runtime library.
    if (written > 0 && static_cast<std::size_t>(written) < std::size(m_room)) {
        m_text = {m_room, static_cast<std::size_t>(written)};
    }
}

void escapeOrigin(std::wstring& pattern, const wchar_t* module, unsigned id) {
    if (!s_bStringOrigin || pattern.empty()) return;
    const StringOrigin origin(module, id);
    std::wstring escaped;
    for (const wchar_t character : origin.text()) {
        escaped.append(character == L'%' ? 2 : 1, character);
    }
    const std::size_t start = pattern.starts_with(origin.text()) ? 0 : kMarkBefore.size();
    pattern.replace(start, origin.text().size(), escaped);
}

}  // namespace i18nres
