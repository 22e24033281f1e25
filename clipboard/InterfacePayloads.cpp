#include "clipboard/InterfacePayloads.h"

#include <atomic>
#include <cstring>
#include <new>

#include "clipboard/CDataObject.h"
#include "platform/GlobalBlock.h"
#include "platform/LockedGlobal.h"
#include "platform/SlimLock.h"
#include "platform/StgMedium.h"

IGlobalInterfaceTable* CDataObject::m_pIglobalInterfaceTable = nullptr;

namespace {

// The payload objects alive. One is recognised by its address among them, because asking a foreign
// owner for a private interface would mean to trust the answer.
SRWLOCK s_livingLock = SRWLOCK_INIT;
IManageInterfaceDataObject* s_living = nullptr;

// The process's table, made on first use and kept in the public static.
HRESULT globalInterfaceTable(IGlobalInterfaceTable*& table) {
    const std::atomic_ref shared(CDataObject::m_pIglobalInterfaceTable);
    table = shared.load();
    if (table) return S_OK;

    ATL::CComPtr<IGlobalInterfaceTable> made;
    const HRESULT hr =
        ::CoCreateInstance(CLSID_StdGlobalInterfaceTable, nullptr, CLSCTX_INPROC_SERVER,
                           IID_IGlobalInterfaceTable, reinterpret_cast<void**>(&made));
    if (FAILED(hr)) return hr;
    if (shared.compare_exchange_strong(table, made)) table = made.Detach();
    return S_OK;  // else another thread was first, and `table` is its table
}

}  // namespace

HRESULT IManageInterfaceDataObject::createPayload(IGlobalInterfaceTable& table,
                                                  const IUnknown& unknown, STGMEDIUM& medium) {
    medium = STGMEDIUM{};
    ATL::CComPtr<IManageInterfaceDataObject> owner;
    owner.Attach(new (std::nothrow) IManageInterfaceDataObject(table));
    if (!owner) return E_OUTOFMEMORY;

    DWORD cookie = 0;
    const HRESULT hr =
        table.RegisterInterfaceInGlobal(const_cast<IUnknown*>(&unknown), IID_IUnknown, &cookie);
    if (FAILED(hr)) return hr;
    owner->m_cookie = cookie;

    platform::GlobalBlock block(GMEM_FIXED, sizeof cookie);
    const platform::LockedGlobal locked(block.get());
    if (locked.bytes().size() < sizeof cookie) return E_OUTOFMEMORY;
    std::memcpy(locked.bytes().data(), &cookie, sizeof cookie);

    owner->m_block = block.detach();
    medium.tymed = TYMED_HGLOBAL;
    medium.hGlobal = owner->m_block;
    medium.pUnkForRelease = owner.Detach();
    return S_OK;
}

bool IManageInterfaceDataObject::ownsBlockOf(const STGMEDIUM& medium) noexcept {
    if (!medium.pUnkForRelease) return false;
    const platform::SlimLock lock(s_livingLock);
    for (const auto* object = s_living; object; object = object->m_next)
        if (object == medium.pUnkForRelease) return object->m_block == medium.hGlobal;
    return false;
}

IManageInterfaceDataObject::IManageInterfaceDataObject(IGlobalInterfaceTable& table) noexcept
    : m_table(table) {
    const platform::SlimLock lock(s_livingLock);
    m_next = s_living;
    if (m_next) m_next->m_previous = this;
    s_living = this;
}

IManageInterfaceDataObject::~IManageInterfaceDataObject() {
    {
        const platform::SlimLock lock(s_livingLock);
        (m_previous ? m_previous->m_next : s_living) = m_next;
        if (m_next) m_next->m_previous = m_previous;
    }
    // Without the lock: the table calls into the interface that it lets go.
    if (m_block) ::GlobalFree(m_block);
    if (m_cookie) m_table.RevokeInterfaceFromGlobal(m_cookie);
}

STDMETHODIMP IManageInterfaceDataObject::QueryInterface(REFIID riid, void** ppv) {
    if (!ppv) return E_INVALIDARG;
    *ppv = nullptr;
    if (riid != IID_IUnknown) return E_NOINTERFACE;
    *ppv = static_cast<IUnknown*>(this);
    AddRef();
    return S_OK;
}

STDMETHODIMP_(ULONG) IManageInterfaceDataObject::AddRef() {
    return static_cast<ULONG>(::InterlockedIncrement(&m_references));
}

STDMETHODIMP_(ULONG) IManageInterfaceDataObject::Release() {
    const LONG left = ::InterlockedDecrement(&m_references);
    if (left == 0) delete this;
    return static_cast<ULONG>(left);
}

HRESULT CDataObject::SetIUnknownData(IDataObject& obj, unsigned long cf, const IUnknown& unk) {
    IGlobalInterfaceTable* table = nullptr;
    HRESULT hr = globalInterfaceTable(table);
    if (FAILED(hr)) return hr;

    STGMEDIUM payload;
    hr = IManageInterfaceDataObject::createPayload(*table, unk, payload);
    if (FAILED(hr)) return hr;
    return platform::StgMedium(payload).handTo(obj, formatHGlobal(cf));
}

HRESULT CDataObject::QueryIUnknownData(const IDataObject& obj, unsigned long cf, IUnknown** ppUnk) {
    if (!ppUnk) return E_POINTER;
    *ppUnk = nullptr;
    // Without a table nothing was stored in this process, and cookies of another mean nothing here.
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
