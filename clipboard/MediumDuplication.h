#pragma once

#include <windows.h>

#include <ole2.h>

/// Makes the copies of media that data objects store and hand out.
///
/// Blocks, files, pictures and GDI objects are duplicated as `OleDuplicateData` does it for the
/// clipboard format; what that cannot duplicate leaves the copy without a handle. Streams and
/// storages are shared, and so is the owner in `pUnkForRelease`, with its block where that is an
/// interface payload. Other storage types have no handle.
///
/// @param copy  The caller frees it with `ReleaseStgMedium`. Empty on failure.
/// @return S_OK; E_OUTOFMEMORY.
HRESULT duplicateMedium(const STGMEDIUM& source, CLIPFORMAT cf, STGMEDIUM& copy);
