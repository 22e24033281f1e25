#pragma once

#include <windows.h>

#include <comdef.h>

namespace platform {

/// Throws a `_com_error` without error information.
[[noreturn]] inline void throwComError(HRESULT hr) { throw _com_error(hr); }

}  // namespace platform
