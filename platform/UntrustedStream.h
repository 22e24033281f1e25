#pragma once

#include <windows.h>

#include <objidl.h>

#include "dll/atl.h"

namespace platform {

/// The maximum number of bytes that are read from an untrusted stream.
inline constexpr SIZE_T kUntrustedStreamLimit = SIZE_T{1} << 30;  // 1 GB

/// Copies `source`, from its current position to its end, to a new stream in memory. The system
/// implements the new stream, so code that reads it does not call `source`. An untrusted stream,
/// such as a stream from the clipboard, may report that it read more bytes than were requested, or
/// may never reach its end.
///
/// @param[out] copy  Receives the new stream, which is positioned at its start. Null on failure.
/// @param limit      The maximum size of the new stream in bytes.
/// @return one of these codes:
///         - S_OK on success.
///         - E_FAIL if `source` contains more than `limit` bytes.
///         - E_OUTOFMEMORY if memory runs out.
///         - Otherwise, the error code from reading `source` or from creating the new stream.
HRESULT readUntrustedStream(IStream& source, ATL::CComPtr<IStream>& copy,
                            SIZE_T limit = kUntrustedStreamLimit) noexcept;

}  // namespace platform
