#include "platform/BoundedCopy.h"

namespace platform {

bool copyWhole(wchar_t* buffer, std::size_t size, std::wstring_view text) noexcept {
    if (!buffer || size == 0) return false;
    const bool fits = text.size() < size;
    const std::size_t length = fits ? text.copy(buffer, text.size()) : 0;
    buffer[length] = L'\0';
    return fits;
}

}  // namespace platform
