#pragma once

#include <windows.h>

#include <ole2.h>

/// Copies a medium as follows:
///
/// - `OleDuplicateData` duplicates a global memory block, a metafile picture or a GDI object, based
///   on the clipboard format `cf`. If `OleDuplicateData` fails, the function returns E_OUTOFMEMORY.
///   In the following cases, however, the function succeeds and the copy has no handle:
///   - The medium is a metafile picture or a GDI object.
///   - The medium is a block that is empty or invalid.
///   - `cf` is CF_BITMAP, CF_PALETTE, CF_METAFILEPICT or CF_ENHMETAFILE.
/// - A block that an `InterfaceOwner` owns is not duplicated: the copy contains the same block.
/// - For a TYMED_FILE medium, only the file name is copied, so both media refer to the same file.
/// - A stream or a storage is not duplicated: the copy holds a reference to the same stream or
///   storage.
/// - The copy has the same `pUnkForRelease` as `source`, and holds its own reference to that
///   object.
/// - For other storage medium types, the copy has no handle.
///
/// @param[out] copy  The caller frees it with `ReleaseStgMedium`. TYMED_NULL on failure.
/// @return S_OK; E_OUTOFMEMORY if memory runs out, or if `OleDuplicateData` fails, except in the
///         cases listed above.
HRESULT duplicateMedium(const STGMEDIUM& source, CLIPFORMAT cf, STGMEDIUM& copy);
