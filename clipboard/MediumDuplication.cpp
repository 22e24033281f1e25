#include "clipboard/MediumDuplication.h"

#include "clipboard/InterfacePayloads.h"

namespace {

// The formats whose handles are objects of GDI, or blocks that hold such an object: for these a
// failure of the duplication says that the handle is no such object, not that memory ran out.
bool standsForGdiObject(CLIPFORMAT cf) {
    return cf == CF_BITMAP || cf == CF_PALETTE || cf == CF_METAFILEPICT || cf == CF_ENHMETAFILE;
}

HGLOBAL duplicateHandle(const STGMEDIUM& source, CLIPFORMAT cf) {
    // A medium of type file is the pointer to its name, so the copy must not be a movable block:
    // the receiver reads it as text, and a release frees it as such.
    const UINT flags = source.tymed == TYMED_FILE ? GPTR : 0;
    return ::OleDuplicateData(source.hGlobal, cf, flags);
}

}  // namespace

HRESULT duplicateMedium(const STGMEDIUM& source, CLIPFORMAT cf, STGMEDIUM& copy) {
    copy = STGMEDIUM{};
    STGMEDIUM made{};
    switch (source.tymed) {
        case TYMED_HGLOBAL:
            if (IManageInterfaceDataObject::ownsBlockOf(source)) {
                made.hGlobal = source.hGlobal;
                break;
            }
            made.hGlobal = duplicateHandle(source, cf);
            if (!made.hGlobal && !standsForGdiObject(cf) && ::GlobalSize(source.hGlobal) != 0)
                return E_OUTOFMEMORY;
            break;
        case TYMED_FILE:
        case TYMED_GDI:
        case TYMED_MFPICT:
        case TYMED_ENHMF:
            made.hGlobal = duplicateHandle(source, cf);
            break;
        case TYMED_ISTREAM:
            made.pstm = source.pstm;
            made.pstm->AddRef();
            break;
        case TYMED_ISTORAGE:
            made.pstg = source.pstg;
            made.pstg->AddRef();
            break;
        default:
            break;
    }
    made.tymed = source.tymed;
    // kept: the copy shares the owner even where its handle is a duplicate. ReleaseStgMedium then
    // gives back the owner and leaves the duplicate alone, and receivers rely on finding the owner.
    made.pUnkForRelease = source.pUnkForRelease;
    if (made.pUnkForRelease) made.pUnkForRelease->AddRef();
    copy = made;
    return S_OK;
}
