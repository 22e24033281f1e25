#include "clipboard/InterfaceOwner.h"

#include <new>
#include <span>

#include "dll/atl.h"
#include "platform/LockedGlobal.h"
#include "platform/References.h"
#include "platform/SlimLock.h"
#include "platform/UniqueHandle.h"

namespace {

// A list of all InterfaceOwner objects. ownsBlockOf() searches this list to determine whether a
// pUnkForRelease is an InterfaceOwner. The function does not call QueryInterface, because an object
// of another class may return an incorrect result.
SRWLOCK s_instancesLock = SRWLOCK_INIT;
InterfaceOwner* s_instances = nullptr;

}  // namespace

HRESULT InterfaceOwner::createPayload(IGlobalInterfaceTable& table, const IUnknown& unknown,
                                      STGMEDIUM& medium) {
    medium = STGMEDIUM{};
    auto* const owner = new (std::nothrow) InterfaceOwner(table);
    ATL::CComPtr<IUnknown> reference;
    reference.Attach(owner);
    if (!owner) return E_OUTOFMEMORY;

    DWORD cookie = 0;
    const HRESULT hr =
        table.RegisterInterfaceInGlobal(const_cast<IUnknown*>(&unknown), IID_IUnknown, &cookie);
    if (FAILED(hr)) return hr;
    owner->m_cookie = cookie;
    const auto bytes = std::as_bytes(std::span(&cookie, 1));
    owner->m_block = platform::newBlock(GMEM_FIXED, bytes, bytes.size()).detach();
    if (!owner->m_block) return E_OUTOFMEMORY;

    medium.tymed = TYMED_HGLOBAL;
    medium.hGlobal = owner->m_block;
    medium.pUnkForRelease = reference.Detach();
    return S_OK;
}

bool InterfaceOwner::ownsBlockOf(const STGMEDIUM& medium) noexcept {
    if (!medium.pUnkForRelease) return false;
    const platform::SlimLock lock(s_instancesLock);
    for (const auto* owner = s_instances; owner; owner = owner->m_next)
        if (owner == medium.pUnkForRelease) return owner->m_block == medium.hGlobal;
    return false;
}

InterfaceOwner::InterfaceOwner(IGlobalInterfaceTable& table) noexcept : m_table(table) {
    const platform::SlimLock lock(s_instancesLock);
    m_next = s_instances;
    if (m_next) m_next->m_previous = this;
    s_instances = this;
}

InterfaceOwner::~InterfaceOwner() {
    {
        const platform::SlimLock lock(s_instancesLock);
        (m_previous ? m_previous->m_next : s_instances) = m_next;
        if (m_next) m_next->m_previous = m_previous;
    }
    // Do not hold the lock here: the table releases the interface, and the interface's Release may
    // call a function that acquires the lock.
    if (m_block) ::GlobalFree(m_block);
    if (m_cookie) m_table.RevokeInterfaceFromGlobal(m_cookie);
}

STDMETHODIMP InterfaceOwner::QueryInterface(REFIID riid, void** ppv) {
    return platform::queryInterface<IUnknown>(*this, IID_IUnknown, riid, ppv);
}

STDMETHODIMP_(ULONG) InterfaceOwner::AddRef() {
    return static_cast<ULONG>(::InterlockedIncrement(&m_references));
}

STDMETHODIMP_(ULONG) InterfaceOwner::Release() {
    const LONG left = platform::releaseReference(m_references);
    if (left == 0) delete this;
    return static_cast<ULONG>(left);
}
