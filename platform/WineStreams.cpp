#include <windows.h>

#include <msxml2.h>
#include <ole2.h>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <exception>
#include <new>
#include <span>
#include <string>
#include <string_view>

#include "dll/atl.h"
#include "platform/Bstr.h"
#include "platform/Dom.h"
#include "platform/LockedGlobal.h"
#include "platform/UniqueHandle.h"
#include "platform/Variant.h"
#include "platform/Wine.h"

namespace platform::wine {

namespace {

// A stream that collects the bytes that are written to it. Only save() uses this class. The object
// is a local variable, so its references are not counted.
class WriteOnlyStream final : public IStream {
public:
    std::string bytes;
    bool hasFailed = false;  // the document may ignore a failed Write

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
            hasFailed = true;
            return E_OUTOFMEMORY;  // exceptions must not escape from a COM method
        }
        if (written) *written = size;
        return S_OK;
    }
    // GCOVR_EXCL_START: saving a document calls only Write
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

// Saves a document as UTF-8.
HRESULT save(IXMLDOMDocument& document, std::string& bytes) noexcept {
    WriteOnlyStream stream;
    const HRESULT hr = document.save(Variant(stream).get());
    bytes.swap(stream.bytes);
    return stream.hasFailed ? E_OUTOFMEMORY : hr;
}

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

// Creates a stream that contains a copy of `bytes` and is positioned at its start.
HRESULT newStream(std::string_view bytes, ATL::CComPtr<IStream>& stream) noexcept {
    GlobalBlock block = newBlock(GHND, std::as_bytes(std::span(bytes)), bytes.size());
    if (!block) return E_OUTOFMEMORY;
    const HRESULT hr = ::CreateStreamOnHGlobal(block.get(), TRUE, &stream);
    if (SUCCEEDED(hr)) static_cast<void>(block.detach());  // the stream frees the block
    return hr;
}

// Converts the XML text of a saved document from UTF-8 to UTF-16. Inserts a carriage return before
// each line feed, as get_xml does. A saved document contains no carriage returns: lines end with a
// line feed, and a carriage return in the text is saved as a character reference.
Bstr widen(std::string_view utf8) {
    if (utf8.size() > INT_MAX) throw std::bad_alloc();
    const int size = static_cast<int>(utf8.size());
    const int units = ::MultiByteToWideChar(CP_UTF8, 0, utf8.data(), size, nullptr, 0);
    const auto lines = static_cast<std::size_t>(std::ranges::count(utf8, '\n'));
    Bstr text = Bstr::ofLength(static_cast<std::size_t>(units) + lines);
    if (!text.get()) throw std::bad_alloc();
    // Store the UTF-16 text at the end of the string. The loop below moves the text to the start of
    // the string and inserts the carriage returns.
    const wchar_t* const source = text.get() + lines;
    ::MultiByteToWideChar(CP_UTF8, 0, utf8.data(), size, text.get() + lines, units);
    wchar_t* target = text.get();
    for (const wchar_t unit : std::span(source, static_cast<std::size_t>(units))) {
        if (unit == L'\n') *target++ = L'\r';
        *target++ = unit;
    }
    return text;
}

}  // namespace

HRESULT queryStream(IXMLDOMDocument2& document, ATL::CComPtr<IStream>& stream) noexcept {
    stream.Release();
    IStream* received = nullptr;
    const HRESULT hr = document.QueryInterface(IID_IStream, reinterpret_cast<void**>(&received));
    if (SUCCEEDED(hr)) stream.Attach(received);
    if (hr != E_NOINTERFACE || !isRunning()) return hr;

    std::string bytes;
    const HRESULT saved = save(document, bytes);
    if (FAILED(saved)) return saved == E_OUTOFMEMORY ? saved : hr;
    dropDeclaredEncoding(bytes);
    return newStream(bytes, stream);
}

HRESULT load(IXMLDOMDocument& document, const Variant& source, VARIANT_BOOL* successful) noexcept {
    ATL::CComPtr<IXMLDOMDocument> sourceDocument;
    if (source.get().vt == VT_UNKNOWN && isMsxmlObject(document))
        source.get().punkVal->QueryInterface(dom::kIXMLDOMDocument,
                                             reinterpret_cast<void**>(&sourceDocument));
    if (!sourceDocument) return document.load(source.get(), successful);

    const ULONG before = sourceDocument.p->AddRef();
    const HRESULT hr = document.load(source.get(), successful);
    const ULONG after = sourceDocument.p->Release() + 1;
    if (after > before) sourceDocument.p->Release();
    return hr;
}

HRESULT readXml(IXMLDOMNode& node, Bstr& text) {
    ATL::CComPtr<IXMLDOMDocument> document;
    if (isMsxmlObject(node))
        node.QueryInterface(dom::kIXMLDOMDocument, reinterpret_cast<void**>(&document));
    std::string bytes;
    const HRESULT saved = document ? save(*document, bytes) : E_NOINTERFACE;
    if (saved == E_OUTOFMEMORY) throw std::bad_alloc();
    if (FAILED(saved) || bytes.empty()) return node.get_xml(text.receive());
    text = widen(bytes);
    return S_OK;
}

}  // namespace platform::wine
