#pragma once

#include <windows.h>

#include <ole2.h>

#include "dll/atl.h"
#include "platform/UniqueHandle.h"

namespace platform {

/// Owns one STGMEDIUM of any storage medium type and releases it exactly once. Do not use this
/// class for a medium that the caller still owns, such as the argument to SetData if `fRelease` is
/// FALSE.
class StgMedium {
public:
    StgMedium() = default;

    /// Takes ownership of the caller's medium.
    explicit StgMedium(const STGMEDIUM& medium) noexcept : m_medium(medium) {}

    /// Takes ownership of a global memory block.
    explicit StgMedium(GlobalBlock block) noexcept {
        m_medium.tymed = TYMED_HGLOBAL;
        m_medium.hGlobal = block.detach();
    }

    /// Takes ownership of a reference to a stream.
    explicit StgMedium(ATL::CComPtr<IStream> stream) noexcept {
        m_medium.tymed = TYMED_ISTREAM;
        m_medium.pstm = stream.Detach();
    }

    StgMedium(const StgMedium&) = delete;  // a copy would release the same medium again
    StgMedium& operator=(const StgMedium&) = delete;
    ~StgMedium() { ::ReleaseStgMedium(&m_medium); }

    const STGMEDIUM& get() const noexcept { return m_medium; }

    /// Releases the current medium and replaces it with the medium that `object` returns for
    /// `format`.
    ///
    /// @return the result of `GetData`. On failure, the medium is TYMED_NULL.
    HRESULT receiveFrom(const IDataObject& object, FORMATETC format) {
        ::ReleaseStgMedium(&m_medium);
        m_medium = STGMEDIUM{};
        // IDataObject declares no const methods, but GetData does not change the data of the
        // object.
        STGMEDIUM received{};
        const HRESULT hr = const_cast<IDataObject&>(object).GetData(&format, &received);
        // If GetData fails, the caller does not own the contents of `received`.
        if (SUCCEEDED(hr)) m_medium = received;
        return hr;
    }

    /// Calls the object's `SetData`, which takes ownership of the medium. If `SetData` fails, the
    /// medium is unchanged and the StgMedium still owns it.
    ///
    /// @return the result of `SetData`.
    HRESULT storeIn(IDataObject& object, FORMATETC format) {
        STGMEDIUM offered = m_medium;  // a copy, because a failed SetData may change its argument
        const HRESULT hr = object.SetData(&format, &offered, TRUE);
        if (SUCCEEDED(hr)) m_medium = STGMEDIUM{};
        return hr;
    }

private:
    STGMEDIUM m_medium{};  // releasing TYMED_NULL has no effect
};

}  // namespace platform
