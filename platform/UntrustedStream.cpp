#include "platform/UntrustedStream.h"

#include <algorithm>

#include "platform/LockedGlobal.h"
#include "platform/UniqueHandle.h"

namespace platform {

namespace {

constexpr SIZE_T kFirstBlock = 1 << 16;

// Calls Read once to read at most `maximum` bytes, and stores the bytes in the block after the
// first `length` bytes.
// @param[in,out] length  Increases by the number of bytes read.
// @return S_OK if bytes were read; S_FALSE at the end of the stream; E_OUTOFMEMORY if the block was
//         not allocated; otherwise the error code from Read.
HRESULT readPart(IStream& source, const GlobalBlock& block, SIZE_T maximum,
                 SIZE_T& length) noexcept {
    const LockedGlobal locked(block.get());
    if (locked.bytes().size() <= length) return E_OUTOFMEMORY;
    const auto unused = locked.bytes().subspan(length);
    const auto requested =
        static_cast<ULONG>((std::min<SIZE_T>)({unused.size(), maximum, MAXLONG}));
    ULONG read = 0;
    const HRESULT hr = source.Read(unused.data(), requested, &read);
    if (FAILED(hr)) return hr;
    length += (std::min)(read, requested);
    return read == 0 ? S_FALSE : S_OK;
}

// Changes the size of a movable block. If memory runs out, the block is unchanged.
bool resize(GlobalBlock& block, SIZE_T byteCount) noexcept {
    const HGLOBAL resized = ::GlobalReAlloc(block.get(), byteCount, GMEM_MOVEABLE);
    if (!resized) return false;
    static_cast<void>(block.detach());  // `resized` replaces the old handle
    block.adopt(resized);
    return true;
}

}  // namespace

HRESULT readUntrustedStream(IStream& source, ATL::CComPtr<IStream>& copy, SIZE_T limit) noexcept {
    copy.Release();
    SIZE_T capacity = kFirstBlock, length = 0;
    GlobalBlock block(::GlobalAlloc(GMEM_MOVEABLE, capacity));
    for (HRESULT hr = S_OK; hr != S_FALSE;) {
        if (length == capacity) {
            capacity *= 2;
            if (!resize(block, capacity)) return E_OUTOFMEMORY;
        }
        // Read one byte more than the limit, to distinguish a stream whose size equals the limit
        // from a longer stream.
        hr = readPart(source, block, limit + 1 - length, length);
        if (FAILED(hr)) return hr;
        if (length > limit) return E_FAIL;
    }

    ATL::CComPtr<IStream> made;
    HRESULT hr = ::CreateStreamOnHGlobal(block.get(), TRUE, &made);
    if (FAILED(hr)) return hr;
    static_cast<void>(block.detach());  // the stream frees the block
    ULARGE_INTEGER size{};
    size.QuadPart = length;
    hr = made->SetSize(size);
    if (SUCCEEDED(hr)) copy = made;
    return hr;
}

}  // namespace platform
