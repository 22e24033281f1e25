#include "platform/Bstr.h"

#include <climits>

#include "platform/ComError.h"

namespace platform {

Bstr::Bstr(std::wstring_view text) {
    if (text.size() > UINT_MAX) throwComError(E_OUTOFMEMORY);
    m_text = ::SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    if (!m_text) throwComError(E_OUTOFMEMORY);
}

Bstr Bstr::ofLength(std::size_t length) noexcept {
    Bstr text;
    if (length <= UINT_MAX) text.m_text = ::SysAllocStringLen(nullptr, static_cast<UINT>(length));
    return text;
}

}  // namespace platform
