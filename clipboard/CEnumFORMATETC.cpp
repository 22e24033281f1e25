#include "clipboard/CEnumFORMATETC.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <span>
#include <utility>

#include "dll/atl.h"
#include "platform/References.h"

namespace {

// Compatibility: the copy of a target device has 16 bytes, even if the structure is larger.
// Receivers free the copy, but do not use the remainder of the structure.
constexpr SIZE_T kTargetDeviceBytes = 16;

// Replaces the target device of each format with a copy. If a copy cannot be allocated, the
// function frees all copies, sets all target devices to null and returns false.
bool copyTargetDevices(std::span<FORMATETC> formats) {
    std::size_t copied = 0;
    for (; copied < formats.size(); ++copied) {
        FORMATETC& format = formats[copied];
        if (!format.ptd) continue;
        void* const copy = ::CoTaskMemAlloc(kTargetDeviceBytes);
        if (!copy) break;
        std::memcpy(copy, format.ptd, kTargetDeviceBytes);
        format.ptd = static_cast<DVTARGETDEVICE*>(copy);
    }
    if (copied == formats.size()) return true;

    for (FORMATETC& format : formats.first(copied)) ::CoTaskMemFree(format.ptd);
    for (FORMATETC& format : formats) format.ptd = nullptr;
    return false;
}

}  // namespace

HRESULT CEnumFORMATETC::create(std::unique_ptr<FORMATETC[]> formats, ULONG count, ULONG position,
                               IEnumFORMATETC** enumerator) {
    const std::span snapshot(formats.get(), count);
    ATL::CComPtr<IEnumFORMATETC> made;
    made.Attach(new (std::nothrow) CEnumFORMATETC(std::move(formats), count, position));
    if (!made || !copyTargetDevices(snapshot)) return E_OUTOFMEMORY;
    *enumerator = made.Detach();
    return S_OK;
}

CEnumFORMATETC::CEnumFORMATETC(std::unique_ptr<FORMATETC[]> formats, ULONG count,
                               ULONG position) noexcept
    : m_position(position), m_count(count), m_formats(std::move(formats)) {}

STDMETHODIMP CEnumFORMATETC::QueryInterface(REFIID riid, void** ppv) {
    return platform::queryInterface<IEnumFORMATETC>(*this, IID_IEnumFORMATETC, riid, ppv);
}

STDMETHODIMP_(ULONG) CEnumFORMATETC::AddRef() {
    return static_cast<ULONG>(::InterlockedIncrement(&m_references));
}

STDMETHODIMP_(ULONG) CEnumFORMATETC::Release() {
    const LONG left = platform::releaseReference(m_references);
    // Compatibility: the enumerator never frees its own copies of target devices. See the class
    // comment.
    if (left == 0) delete this;
    return static_cast<ULONG>(left);
}

STDMETHODIMP CEnumFORMATETC::Next(ULONG celt, FORMATETC* rgelt, ULONG* pceltFetched) {
    if (!rgelt) return E_INVALIDARG;
    if (pceltFetched) *pceltFetched = 0;

    const ULONG fetched = std::min(celt, m_count - m_position);
    std::copy_n(m_formats.get() + m_position, fetched, rgelt);
    if (!copyTargetDevices({rgelt, fetched})) return E_OUTOFMEMORY;

    m_position += fetched;
    if (pceltFetched) *pceltFetched = fetched;
    return fetched == celt ? S_OK : S_FALSE;
}

STDMETHODIMP CEnumFORMATETC::Skip(ULONG celt) {
    const ULONG skipped = std::min(celt, m_count - m_position);
    m_position += skipped;
    return skipped == celt ? S_OK : S_FALSE;
}

STDMETHODIMP CEnumFORMATETC::Reset() {
    m_position = 0;
    return S_OK;
}

STDMETHODIMP CEnumFORMATETC::Clone(IEnumFORMATETC** ppenum) {
    if (!ppenum) return E_INVALIDARG;
    *ppenum = nullptr;

    std::unique_ptr<FORMATETC[]> formats(new (std::nothrow) FORMATETC[m_count]);
    if (!formats) return E_OUTOFMEMORY;
    std::copy_n(m_formats.get(), m_count, formats.get());
    return create(std::move(formats), m_count, m_position, ppenum);
}
