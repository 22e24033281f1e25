#include "clipboard/MediumDuplication.h"

#include <cstring>
#include <cwchar>

#include "clipboard/InterfaceOwner.h"

namespace {

// Returns true if the handle for data in the clipboard format `cf` identifies a GDI object or a
// block that describes a GDI object. If the duplication of such a handle fails, the handle probably
// has the wrong type. The failure is therefore not reported as E_OUTOFMEMORY.
bool isGdiFormat(CLIPFORMAT cf) {
    return cf == CF_BITMAP || cf == CF_PALETTE || cf == CF_METAFILEPICT || cf == CF_ENHMETAFILE;
}

// Copies the file name of a TYMED_FILE medium. Returns null if memory runs out. The copy is
// allocated with CoTaskMemAlloc, because ReleaseStgMedium frees it with CoTaskMemFree, even if the
// medium has a pUnkForRelease.
LPOLESTR duplicateFileName(const OLECHAR* name) {
    const SIZE_T byteCount = (std::wcslen(name) + 1) * sizeof(OLECHAR);
    void* const copy = ::CoTaskMemAlloc(byteCount);
    if (copy) std::memcpy(copy, name, byteCount);
    return static_cast<LPOLESTR>(copy);
}

}  // namespace

HRESULT duplicateMedium(const STGMEDIUM& source, CLIPFORMAT cf, STGMEDIUM& copy) {
    copy = STGMEDIUM{};
    STGMEDIUM made{};
    switch (source.tymed) {
        case TYMED_HGLOBAL:
            if (InterfaceOwner::ownsBlockOf(source)) {
                made.hGlobal = source.hGlobal;
                break;
            }
            made.hGlobal = ::OleDuplicateData(source.hGlobal, cf, 0);
            if (!made.hGlobal && !isGdiFormat(cf) && ::GlobalSize(source.hGlobal) != 0)
                return E_OUTOFMEMORY;
            break;
        case TYMED_FILE:
            if (!source.lpszFileName) break;
            made.lpszFileName = duplicateFileName(source.lpszFileName);
            if (!made.lpszFileName) return E_OUTOFMEMORY;
            break;
        case TYMED_GDI:
        case TYMED_MFPICT:
        case TYMED_ENHMF:
            made.hGlobal = ::OleDuplicateData(source.hGlobal, cf, 0);
            break;
        case TYMED_ISTREAM:
            made.pstm = source.pstm;
            if (made.pstm) made.pstm->AddRef();
            break;
        case TYMED_ISTORAGE:
            made.pstg = source.pstg;
            if (made.pstg) made.pstg->AddRef();
            break;
        default:
            break;
    }
    made.tymed = source.tymed;
    // Compatibility: the copy has the pUnkForRelease of the source, even if the handle of the copy
    // is a duplicate. Receivers rely on this pUnkForRelease. However, ReleaseStgMedium does not
    // free the handle if the medium has a pUnkForRelease, so the duplicate stays allocated.
    made.pUnkForRelease = source.pUnkForRelease;
    if (made.pUnkForRelease) made.pUnkForRelease->AddRef();
    copy = made;
    return S_OK;
}
