#include <windows.h>

#include <msxml2.h>
#include <ocidl.h>
#include <ole2.h>

#include <algorithm>
#include <exception>
#include <span>
#include <string>
#include <string_view>

#include "dll/atl.h"
#include "platform/GlobalBlock.h"
#include "platform/LockedGlobal.h"
#include "platform/Variant.h"
#include "platform/Wine.h"

namespace platform::wine {

namespace {

// Collects what is written to it. Lives on the stack of its only user.
class WrittenBytes final : public IStream {
public:
    std::string bytes;
    bool outOfMemory = false;  // for writers that go on when a write fails

    // IUnknown
    STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
        if (!object) return E_POINTER;
        const bool known =
            iid == IID_IUnknown || iid == IID_ISequentialStream || iid == IID_IStream;
        *object = known ? this : nullptr;
        return known ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }

    // IStream
    STDMETHODIMP Write(const void* data, ULONG size, ULONG* written) override {
        try {
            bytes.append(static_cast<const char*>(data), size);
        } catch (const std::exception&) {
            outOfMemory = true;
            return E_OUTOFMEMORY;  // the writer's frames are not ours to throw through
        }
        if (written) *written = size;
        return S_OK;
    }
    // GCOVR_EXCL_START: a document that is saved only writes
    STDMETHODIMP Read(void*, ULONG, ULONG*) override { return E_NOTIMPL; }
    STDMETHODIMP Seek(LARGE_INTEGER, DWORD, ULARGE_INTEGER*) override { return E_NOTIMPL; }
    STDMETHODIMP SetSize(ULARGE_INTEGER) override { return E_NOTIMPL; }
    STDMETHODIMP CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER*, ULARGE_INTEGER*) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP Commit(DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP Revert() override { return E_NOTIMPL; }
    STDMETHODIMP LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP Stat(STATSTG*, DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP Clone(IStream**) override { return E_NOTIMPL; }
    // GCOVR_EXCL_STOP
};

void dropDeclaredEncoding(std::string& xml) {
    constexpr std::string_view kName = " encoding=";
    if (!xml.starts_with("<?xml ")) return;
    const auto declaration = std::string_view(xml).substr(0, xml.find("?>"));
    const std::size_t begin = declaration.find(kName);
    if (begin == declaration.npos) return;
    const std::size_t quote = begin + kName.size();
    const std::size_t endQuote = declaration.find(xml[quote], quote + 1);
    if (endQuote != declaration.npos) xml.erase(begin, endQuote + 1 - begin);
}

// A stream over a copy of `bytes`, at its start.
HRESULT newStream(std::string_view bytes, ATL::CComPtr<IStream>& stream) noexcept {
    GlobalBlock block(GHND, bytes.size());
    if (!block) return E_OUTOFMEMORY;
    {
        const LockedGlobal locked(block.get());
        if (locked.bytes().size() < bytes.size()) return E_OUTOFMEMORY;
        std::ranges::copy(std::as_bytes(std::span(bytes)), locked.bytes().begin());
    }
    const HRESULT hr = ::CreateStreamOnHGlobal(block.get(), TRUE, &stream);
    if (SUCCEEDED(hr)) static_cast<void>(block.detach());  // the stream frees it
    return hr;
}

bool canSave(IUnknown& document) noexcept {
    ATL::CComPtr<IUnknown> persistent;
    return SUCCEEDED(document.QueryInterface(IID_IPersistStream,
                                             reinterpret_cast<void**>(&persistent))) ||
           SUCCEEDED(document.QueryInterface(IID_IPersistStreamInit,
                                             reinterpret_cast<void**>(&persistent)));
}

}  // namespace

HRESULT completeDocumentStream(HRESULT answer, IXMLDOMDocument2& document,
                               ATL::CComPtr<IStream>& stream) noexcept {
    if (answer != E_NOINTERFACE || !isRunning() || !canSave(document)) return answer;
    WrittenBytes saved;
    const HRESULT hr = document.save(Variant(saved).get());
    if (saved.outOfMemory) return E_OUTOFMEMORY;
    if (FAILED(hr)) return answer;
    dropDeclaredEncoding(saved.bytes);
    stream.Release();
    return newStream(saved.bytes, stream);
}

}  // namespace platform::wine
