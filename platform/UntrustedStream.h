#pragma once

#include <windows.h>

#include <objidl.h>

#include "dll/atl.h"

namespace platform {

/// The greatest number of bytes that are read from a foreign stream.
inline constexpr SIZE_T kUntrustedStreamLimit = SIZE_T{1} << 30;  // 1 GB

/// Reads a foreign stream, such as one from the clipboard, from its position to its end into a new
/// stream in memory. Readers of the new stream depend on the system's implementation only: `source`
/// may report more bytes than requested, or have no end.
///
/// @param[out] copy  At its start. Null on failure.
/// @param limit      The greatest size of the new stream, in bytes.
/// @return S_OK; the failure of a read; E_FAIL for a stream above the limit; E_OUTOFMEMORY.
HRESULT readUntrustedStream(IStream& source, ATL::CComPtr<IStream>& copy,
                            SIZE_T limit = kUntrustedStreamLimit) noexcept;

}  // namespace platform
