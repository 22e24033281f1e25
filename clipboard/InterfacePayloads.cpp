#include <windows.h>

#include <ole2.h>

#include <atomic>
#include <cstring>

#include "clipboard/CDataObject.h"
#include "clipboard/InterfaceOwner.h"
#include "platform/LockedGlobal.h"
#include "platform/StgMedium.h"

IGlobalInterfaceTable* CDataObject::m_pIglobalInterfaceTable = nullptr;

namespace {

// Returns the Global Interface Table of the process. The first call creates the table and stores it
// in CDataObject::m_pIglobalInterfaceTable.
HRESULT globalInterfaceTable(IGlobalInterfaceTable*& table) {
    const std::atomic_ref shared(CDataObject::m_pIglobalInterfaceTable);
    table = shared.load();
    if (table) return S_OK;

    ATL::CComPtr<IGlobalInterfaceTable> made;
    const HRESULT hr =
        ::CoCreateInstance(CLSID_StdGlobalInterfaceTable, nullptr, CLSCTX_INPROC_SERVER,
                           IID_IGlobalInterfaceTable, reinterpret_cast<void**>(&made));
    if (FAILED(hr)) return hr;
    // If another thread has already stored a table, the exchange fails and stores the pointer to
    // that table in `table`.
    if (shared.compare_exchange_strong(table, made)) table = made.Detach();
    return S_OK;
}

}  // namespace

HRESULT CDataObject::SetIUnknownData(IDataObject& obj, unsigned long cf, const IUnknown& unk) {
    IGlobalInterfaceTable* table = nullptr;
    HRESULT hr = globalInterfaceTable(table);
    if (FAILED(hr)) return hr;

    STGMEDIUM payload;
    hr = InterfaceOwner::createPayload(*table, unk, payload);
    if (FAILED(hr)) return hr;
    return platform::StgMedium(payload).storeIn(obj, formatHGlobal(cf));
}

HRESULT CDataObject::QueryIUnknownData(const IDataObject& obj, unsigned long cf, IUnknown** ppUnk) {
    if (!ppUnk) return E_POINTER;
    *ppUnk = nullptr;
    // If there is no table, this process has not stored an interface. In this case, any
    // cookie in the data object comes from another process.
    IGlobalInterfaceTable* const table = std::atomic_ref(m_pIglobalInterfaceTable).load();
    if (!table) return E_FAIL;

    platform::StgMedium medium;
    const HRESULT hr = medium.receiveFrom(obj, formatHGlobal(cf));
    if (FAILED(hr)) return hr;
    if (medium.get().tymed != TYMED_HGLOBAL) return E_INVALIDARG;

    DWORD cookie = 0;
    const platform::LockedGlobal block(medium.get().hGlobal);
    if (block.bytes().size() < sizeof cookie) return E_INVALIDARG;
    std::memcpy(&cookie, block.bytes().data(), sizeof cookie);
    return table->GetInterfaceFromGlobal(cookie, IID_IUnknown, reinterpret_cast<void**>(ppUnk));
}
