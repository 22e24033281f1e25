#include "clipboard/CDataObject.h"

#include <algorithm>
#include <memory>
#include <new>
#include <utility>

#include "clipboard/CDataObjectEntry.h"
#include "clipboard/CEnumFORMATETC.h"
#include "platform/References.h"

HRESULT CDataObject::CreateInstance(IDataObject** ppDataObject) {
    if (!ppDataObject) return E_POINTER;
    *ppDataObject = nullptr;

    ATL::CComPtr<CDataObject> object;
    try {
        // Do not use a throwing `new`. If memory runs out, allocating the exception may fail too.
        object.Attach(new (std::nothrow) CDataObject);
    } catch (const std::bad_alloc&) {
        // In some standard libraries, the constructor of std::list allocates memory.
    }
    if (!object) return E_FAIL;
    return object->QueryInterface(IID_IDataObject, reinterpret_cast<void**>(ppDataObject));
}

CDataObject::CDataObject() = default;

// Releasing a medium or a sink may run code that calls this object. Each entry is therefore removed
// from the list before it is released, and SetData fails during destruction. The sinks are
// released last. At that point, the list is empty, so DAdvise fails for every format.
CDataObject::~CDataObject() {
    while (!m_entries.empty()) {
        const ATL::CComPtr<CDataObjectEntry> entry = m_entries.front();
        m_entries.pop_front();
    }
    m_adviseHolder.Release();
}

STDMETHODIMP CDataObject::QueryInterface(REFIID riid, void** ppv) {
    return platform::queryInterface<IDataObject>(*this, IID_IDataObject, riid, ppv);
}

STDMETHODIMP_(ULONG) CDataObject::AddRef() {
    return static_cast<ULONG>(::InterlockedIncrement(&m_references));
}

STDMETHODIMP_(ULONG) CDataObject::Release() {
    const LONG left = platform::releaseReference(m_references);
    if (left == 0) delete this;
    return static_cast<ULONG>(left);
}

STDMETHODIMP CDataObject::GetData(FORMATETC* pformatetc, STGMEDIUM* pmedium) {
    if (pmedium) *pmedium = STGMEDIUM{};
    if (!pformatetc) return DV_E_FORMATETC;
    if (!pmedium) return E_INVALIDARG;

    EntryList::iterator position;
    const HRESULT hr = findEntry(*pformatetc, position);
    if (FAILED(hr)) return hr;
    // Hold a reference to the entry. Copying the medium calls AddRef on its stream, storage or
    // pUnkForRelease. AddRef may call SetData, which can replace the entry.
    const ATL::CComPtr<CDataObjectEntry> entry = *position;
    return entry->copyMedium(*pmedium);
}

STDMETHODIMP CDataObject::GetDataHere(FORMATETC* /*pformatetc*/, STGMEDIUM* /*pmedium*/) {
    return E_NOTIMPL;
}

STDMETHODIMP CDataObject::QueryGetData(FORMATETC* pformatetc) {
    if (!pformatetc) return DV_E_FORMATETC;
    EntryList::iterator position;
    return findEntry(*pformatetc, position);
}

STDMETHODIMP CDataObject::GetCanonicalFormatEtc(FORMATETC* /*pformatetcIn*/,
                                                FORMATETC* pformatetcOut) {
    return pformatetcOut ? DATA_S_SAMEFORMATETC : E_INVALIDARG;
}

STDMETHODIMP CDataObject::SetData(FORMATETC* pformatetc, STGMEDIUM* pmedium, BOOL fRelease) {
    if (!pformatetc || !pmedium || !pmedium->hGlobal) return E_POINTER;
    if (pformatetc->lindex != -1) return DV_E_LINDEX;
    if (pformatetc->tymed != pmedium->tymed) return DV_E_TYMED;
    if (platform::isInDestruction(m_references)) return E_UNEXPECTED;

    // Allocate the list node and create the entry before changing the list. If memory runs out, the
    // object is unchanged and the caller still owns the medium. After a replacement, `added`
    // contains the old entry and releases it at the end of the scope.
    EntryList added(1);
    const HRESULT hr =
        CDataObjectEntry::CreateInstance(*pformatetc, *pmedium, fRelease != FALSE, &added.front());
    if (FAILED(hr)) return hr;

    EntryList::iterator position;
    if (findEntry(*pformatetc, position) == S_OK)
        std::swap(*position, added.front());
    else
        m_entries.splice(m_entries.end(), added);
    return S_OK;
}

STDMETHODIMP CDataObject::EnumFormatEtc(DWORD dwDirection, IEnumFORMATETC** ppenum) {
    if (ppenum) *ppenum = nullptr;
    if (dwDirection != DATADIR_GET) return E_NOTIMPL;
    if (!ppenum) return E_INVALIDARG;

    std::unique_ptr<FORMATETC[]> formats(new (std::nothrow) FORMATETC[m_entries.size()]);
    if (!formats) return E_OUTOFMEMORY;
    std::transform(m_entries.begin(), m_entries.end(), formats.get(),
                   [](const auto& entry) { return entry->format(); });
    return CEnumFORMATETC::create(std::move(formats), static_cast<ULONG>(m_entries.size()), 0,
                                  ppenum);
}

// This function is defined here so that CEnumFORMATETC.cpp does not depend on CDataObject.
HRESULT CEnumFORMATETC::CreateInstance(const CDataObject& object, IEnumFORMATETC** enumerator) {
    // EnumFormatEtc is not a const method, but it does not change the object.
    return const_cast<CDataObject&>(object).CDataObject::EnumFormatEtc(DATADIR_GET, enumerator);
}

STDMETHODIMP CDataObject::DAdvise(FORMATETC* pformatetc, DWORD advf, IAdviseSink* pAdvSink,
                                  DWORD* pdwConnection) {
    if (FAILED(QueryGetData(pformatetc))) return DV_E_FORMATETC;
    if (!m_adviseHolder) {
        const HRESULT hr = ::CreateDataAdviseHolder(&m_adviseHolder);
        if (FAILED(hr)) return hr;
    }
    return m_adviseHolder->Advise(this, pformatetc, advf, pAdvSink, pdwConnection);
}

STDMETHODIMP CDataObject::DUnadvise(DWORD dwConnection) {
    return m_adviseHolder ? m_adviseHolder->Unadvise(dwConnection) : E_FAIL;
}

STDMETHODIMP CDataObject::EnumDAdvise(IEnumSTATDATA** ppenumAdvise) {
    return m_adviseHolder ? m_adviseHolder->EnumAdvise(ppenumAdvise) : E_FAIL;
}

HRESULT CDataObject::findEntry(const FORMATETC& format, EntryList::iterator& position) {
    if (format.lindex != -1) return DV_E_LINDEX;
    if (format.ptd) return DV_E_DVTARGETDEVICE;
    position = std::find_if(m_entries.begin(), m_entries.end(), [&format](const auto& entry) {
        return entry->matches(format) == S_OK;
    });
    // Compatibility: if no entry matches, the error code is always DV_E_CLIPFORMAT, even if only
    // the storage medium type differs. Receivers test for this error code.
    return position == m_entries.end() ? DV_E_CLIPFORMAT : S_OK;
}
