#pragma once

#include <windows.h>

#include <ole2.h>

/// Copies a medium for a data object that stores or returns the copy.
///
/// - A block, a metafile picture or a GDI object is duplicated with `OleDuplicateData` for the
///   format `cf`. If the duplication fails, the copy has no handle. There is one exception: the
///   result is E_OUTOFMEMORY if the medium is a block with at least one byte and `cf` is not the
///   format of a GDI object.
/// - The block of an interface payload (see `InterfaceOwner`) is shared and not duplicated.
/// - For a file medium, only the file name is copied. Both media then refer to the same file.
/// - A stream or a storage is shared.
/// - A `pUnkForRelease` is shared.
/// - For other storage types, the copy has no handle.
///
/// @param[out] copy  The caller frees it with `ReleaseStgMedium`. TYMED_NULL on failure.
/// @return S_OK; E_OUTOFMEMORY.
HRESULT duplicateMedium(const STGMEDIUM& source, CLIPFORMAT cf, STGMEDIUM& copy);
