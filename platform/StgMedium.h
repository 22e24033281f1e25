#pragma once

#include <windows.h>

#include <ole2.h>

#include "dll/atl.h"
#include "platform/UniqueHandle.h"

namespace platform {

/// Owns one STGMEDIUM and releases it exactly once, whatever its storage type. Not for a medium
/// that stays with its caller, such as SetData's argument without release.
class StgMedium {
public:
    StgMedium() = default;

    /// Takes over a medium that the caller owns.
    explicit StgMedium(const STGMEDIUM& medium) noexcept : m_medium(medium) {}

    /// Takes over a global block.
    explicit StgMedium(GlobalBlock block) noexcept {
        m_medium.tymed = TYMED_HGLOBAL;
        m_medium.hGlobal = block.detach();
    }

    /// Takes over a reference to a stream.
    explicit StgMedium(ATL::CComPtr<IStream> stream) noexcept {
        m_medium.tymed = TYMED_ISTREAM;
        m_medium.pstm = stream.Detach();
    }

    StgMedium(const StgMedium&) = delete;  // a copy would be released twice
    StgMedium& operator=(const StgMedium&) = delete;
    ~StgMedium() { ::ReleaseStgMedium(&m_medium); }

    const STGMEDIUM& get() const noexcept { return m_medium; }

    /// Fills the medium with what `object` has under `format`, after giving back what it held.
    ///
    /// @return what `GetData` returned. On failure the medium is empty, whatever the object wrote:
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

    /// Hands the medium over to `object`, to be stored under `format`. An object that refuses takes
    /// nothing: the medium is then as it was and still released here.
    ///
    /// @return what `SetData` returned.
    HRESULT handTo(IDataObject& object, FORMATETC format) {
        STGMEDIUM offered = m_medium;  // a copy: an object that refuses may have scribbled on it
        const HRESULT hr = object.SetData(&format, &offered, TRUE);
        if (SUCCEEDED(hr)) m_medium = STGMEDIUM{};
        return hr;
    }

private:
    STGMEDIUM m_medium{};  // TYMED_NULL, whose release does nothing
};

}  // namespace platform
