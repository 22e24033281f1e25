#include "clipboard/CDataObjectEntry.h"

#include <new>

#include "clipboard/MediumDuplication.h"
#include "platform/References.h"

HRESULT CDataObjectEntry::CreateInstance(const FORMATETC& format, const STGMEDIUM& medium,
                                         bool release, CDataObjectEntry** entry) {
    if (!entry) return E_POINTER;
    *entry = nullptr;

    // Create the entry before the duplicate, so that no duplicate has to be released if an
    // allocation fails. Releasing a duplicate can affect the caller's medium, for example by
    // deleting its file.
    auto* const made = new (std::nothrow) CDataObjectEntry(format);
    if (!made) return E_OUTOFMEMORY;
    if (release) {
        made->m_medium = medium;
    } else if (const HRESULT hr = duplicateMedium(medium, format.cfFormat, made->m_medium);
               FAILED(hr)) {
        made->Release();
        return hr;
    }
    *entry = made;
    return S_OK;
}

CDataObjectEntry::CDataObjectEntry(const FORMATETC& format) noexcept : m_format(format) {}

CDataObjectEntry::~CDataObjectEntry() { ::ReleaseStgMedium(&m_medium); }

STDMETHODIMP CDataObjectEntry::QueryInterface(REFIID riid, void** ppv) {
    return platform::queryInterface<IUnknown>(*this, IID_IUnknown, riid, ppv);
}

STDMETHODIMP_(ULONG) CDataObjectEntry::AddRef() {
    return static_cast<ULONG>(::InterlockedIncrement(&m_references));
}

STDMETHODIMP_(ULONG) CDataObjectEntry::Release() {
    const LONG left = platform::releaseReference(m_references);
    if (left == 0) delete this;
    return static_cast<ULONG>(left);
}

HRESULT CDataObjectEntry::matches(const FORMATETC& requested) const {
    if (m_format.cfFormat != requested.cfFormat) return DV_E_CLIPFORMAT;
    if (requested.lindex != -1) return DV_E_LINDEX;
    // Compatibility: the requested aspect is ignored. Receivers that request an aspect other than
    // DVASPECT_CONTENT still expect the data for DVASPECT_CONTENT.
    if (!(m_format.dwAspect & DVASPECT_CONTENT)) return DV_E_DVASPECT;
    if (!(requested.tymed & m_format.tymed)) return DV_E_TYMED;
    return S_OK;
}

HRESULT CDataObjectEntry::copyMedium(STGMEDIUM& medium) const {
    return duplicateMedium(m_medium, m_format.cfFormat, medium);
}
