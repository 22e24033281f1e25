#pragma once

#include <windows.h>

#include <ole2.h>

#include "dll/atl.h"
#include "platform/UniqueHandle.h"

namespace platform {

/// Owns one STGMEDIUM and releases it exactly once, for every storage type. Not for a medium that
/// the caller keeps, such as SetData's argument without release.
class StgMedium {
public:
    StgMedium() = default;

    /// Takes ownership of a medium of the caller.
    explicit StgMedium(const STGMEDIUM& medium) noexcept : m_medium(medium) {}

    /// Takes ownership of a global block.
    explicit StgMedium(GlobalBlock block) noexcept {
        m_medium.tymed = TYMED_HGLOBAL;
        m_medium.hGlobal = block.detach();
    }

    /// Takes ownership of a reference to a stream.
    explicit StgMedium(ATL::CComPtr<IStream> stream) noexcept {
        m_medium.tymed = TYMED_ISTREAM;
        m_medium.pstm = stream.Detach();
    }

    StgMedium(const StgMedium&) = delete;  // a copy would be released twice
    StgMedium& operator=(const StgMedium&) = delete;
    ~StgMedium() { ::ReleaseStgMedium(&m_medium); }

    const STGMEDIUM& get() const noexcept { return m_medium; }

    /// Releases the present medium and gets the data of `object` in `format`.
    ///
    /// @return the result of `GetData`. On failure the medium is empty, whatever the object wrote:
    ///         the out parameters of a call that failed own nothing.
    HRESULT receiveFrom(const IDataObject& object, FORMATETC format) {
        ::ReleaseStgMedium(&m_medium);
        m_medium = STGMEDIUM{};
        // IDataObject declares no const methods, yet GetData changes nothing that a caller can see:
        // the cast lives here and nowhere else.
        STGMEDIUM received{};
        const HRESULT hr = const_cast<IDataObject&>(object).GetData(&format, &received);
        if (SUCCEEDED(hr)) m_medium = received;
        return hr;
    }

    /// Stores the medium in `object` under `format`, with release. If the object refuses, the
    /// medium is unchanged and is still released here.
    ///
    /// @return the result of `SetData`.
    HRESULT handTo(IDataObject& object, FORMATETC format) {
        STGMEDIUM offered = m_medium;  // a copy: an object that refuses may have changed it
        const HRESULT hr = object.SetData(&format, &offered, TRUE);
        if (SUCCEEDED(hr)) m_medium = STGMEDIUM{};
        return hr;
    }

private:
    STGMEDIUM m_medium{};  // TYMED_NULL, whose release does nothing
};

}  // namespace platform
