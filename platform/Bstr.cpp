#include "platform/Bstr.h"

#include <climits>

#include "platform/ComError.h"

namespace platform {

Bstr::Bstr(std::wstring_view text) {
    if (text.size() > UINT_MAX) throwComError(E_OUTOFMEMORY);
    m_text = ::SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    if (!m_text) throwComError(E_OUTOFMEMORY);
}

}  // namespace platform
