#pragma once

#include <windows.h>

#include <ole2.h>

/// Makes the copies of media that data objects store and hand out.
///
/// Blocks, metafile pictures and GDI objects are duplicated by `OleDuplicateData` for the clipboard
/// format; the copy has no handle where that fails for another reason than exhausted memory. A file
/// medium gets a copy of the name: both media then name the same file. Streams and storages are
/// shared. The owner in `pUnkForRelease` is shared too, together with its block where the medium is
/// an interface payload. Media of other storage types are copied without a handle.
///
/// @param[out] copy  The caller frees it with `ReleaseStgMedium`. Empty on failure.
/// @return S_OK; E_OUTOFMEMORY.
HRESULT duplicateMedium(const STGMEDIUM& source, CLIPFORMAT cf, STGMEDIUM& copy);
