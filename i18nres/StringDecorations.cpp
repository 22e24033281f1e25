#include "i18nres/StringDecorations.h"

#include <cstddef>
#include <cwchar>

#include "i18nres/StringSwitches.h"

namespace i18nres {

std::wstring_view writeOrigin(std::span<wchar_t, 255> buffer, const wchar_t* module,
                              unsigned id) noexcept {
    const int written =
        std::swprintf(buffer.data(), buffer.size(), L"%ls(%d):", module, static_cast<int>(id));
    // If the text does not fit, swprintf returns -1 or the length that the text would have,
    // depending on the C runtime library.
    if (written < 0 || static_cast<std::size_t>(written) >= buffer.size()) return {};
    return {buffer.data(), static_cast<std::size_t>(written)};
}

void escapeOrigin(std::wstring& pattern, const wchar_t* module, unsigned id) {
    if (!s_bStringOrigin || pattern.empty()) return;
    wchar_t buffer[255];
    const std::wstring_view origin = writeOrigin(buffer, module, id);
    std::wstring escaped;
    for (const wchar_t character : origin) {
        escaped.append(character == L'%' ? 2 : 1, character);
    }
    const std::size_t start = pattern.starts_with(origin) ? 0 : kMarkBefore.size();
    pattern.replace(start, origin.size(), escaped);
}

}  // namespace i18nres
