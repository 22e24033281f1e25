#pragma once

#include <windows.h>

#include <objidl.h>

#include "dll/atl.h"

namespace platform {

/// The maximum number of bytes that are read from an untrusted stream.
inline constexpr SIZE_T kUntrustedStreamLimit = SIZE_T{1} << 30;  // 1 GB

/// Reads an untrusted stream, such as one from the clipboard, from its current position to its end
/// into a new stream in memory. Readers of the new stream depend only on the system's
/// implementation. They do not depend on `source`, which may report more bytes than requested or
/// have no end.
///
/// @param[out] copy  A stream at its start. Null on failure.
/// @param limit      The maximum size of the new stream in bytes.
/// @return S_OK; the failure of a read; E_FAIL if the stream exceeds the limit; E_OUTOFMEMORY.
HRESULT readUntrustedStream(IStream& source, ATL::CComPtr<IStream>& copy,
                            SIZE_T limit = kUntrustedStreamLimit) noexcept;

}  // namespace platform
