#pragma once

#include <windows.h>

#include <comdef.h>

namespace platform {

/// Raises the platform's COM error exception, `_com_error`, without error information.
[[noreturn]] inline void throwComError(HRESULT hr) { throw _com_error(hr); }

}  // namespace platform
