#pragma once

#include <windows.h>

#include <ole2.h>

/// Makes the copies of media that data objects store and return.
///
/// `OleDuplicateData` duplicates blocks, metafile pictures and GDI objects for the clipboard
/// format. If it fails for another reason than lack of memory, the copy has no handle. A file
/// medium gets a copy of the name: both media then name the same file. Streams and storages are
/// shared. The owner in `pUnkForRelease` is shared too, and also its block if the medium is an
/// interface payload. Media of other storage types are copied without a handle.
///
/// @param[out] copy  The caller frees it with `ReleaseStgMedium`. Empty on failure.
/// @return S_OK; E_OUTOFMEMORY.
HRESULT duplicateMedium(const STGMEDIUM& source, CLIPFORMAT cf, STGMEDIUM& copy);
