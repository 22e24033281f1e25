#include <windows.h>

#include <ole2.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <type_traits>
#include <utility>

#include "clipboard/CDataObject.h"
#include "i18nstr/i18nstr.h"
#include "platform/LockedGlobal.h"
#include "platform/StgMedium.h"
#include "platform/UniqueHandle.h"

namespace {

FORMATETC contentFormat(unsigned long cf, DWORD tymed) {
    return {static_cast<CLIPFORMAT>(cf), nullptr, DVASPECT_CONTENT, -1, tymed};
}

HRESULT accept(IDataObject& obj, FORMATETC format) { return obj.QueryGetData(&format); }

// Compatibility: a block has eight bytes for each wide character, although two are enough.
// Receivers interpret the size of the block as the length of the text, and rely on this length.
template <class Character>
constexpr SIZE_T kBlockBytesPerCharacter = std::is_same_v<Character, wchar_t> ? 8 : 1;

// Returns `len`, or the length of the NUL-terminated `text` if `len` is negative.
template <class Character>
std::size_t lengthOf(const Character* text, int len) {
    return len < 0 ? std::char_traits<Character>::length(text) : static_cast<std::size_t>(len);
}

template <class Character>
HRESULT setText(IDataObject& obj, unsigned long cf, const Character* text, int len) {
    if (!text) return E_POINTER;
    const std::size_t length = lengthOf(text, len);

    // The block is zero-filled, so the text ends with a terminator.
    const SIZE_T size = (length + 1) * kBlockBytesPerCharacter<Character>;
    platform::GlobalBlock block =
        platform::newBlock(GHND, std::as_bytes(std::span(text, length)), size);
    if (!block) return E_OUTOFMEMORY;
    return platform::StgMedium(std::move(block)).storeIn(obj, CDataObject::formatHGlobal(cf));
}

template <class Character>
HRESULT queryText(const IDataObject& obj, unsigned long cf, Character** text,
                  unsigned __int64* len) {
    if (!text) return E_POINTER;
    *text = nullptr;

    platform::StgMedium medium;
    const HRESULT hr = medium.receiveFrom(obj, CDataObject::formatHGlobal(cf));
    if (FAILED(hr)) return hr;
    if (medium.get().tymed != TYMED_HGLOBAL) return E_INVALIDARG;

    const platform::LockedGlobal block(medium.get().hGlobal);
    if (!block) return E_INVALIDARG;
    // Compatibility: the reported length is the size of the block in bytes, even for wide text.
    // Callers rely on this length, and on an array with at least `*len` characters.
    const auto bytes = block.bytes();
    auto copy = std::make_unique<Character[]>(bytes.size() + 1);  // zero-filled and NUL-terminated
    std::ranges::copy(bytes, reinterpret_cast<std::byte*>(copy.get()));

    *text = copy.release();
    if (len) *len = bytes.size();
    return S_OK;
}

HRESULT setBlock(IDataObject& obj, unsigned long cf, HGLOBAL block, BOOL release) {
    if (!block) return E_INVALIDARG;
    FORMATETC format = CDataObject::formatHGlobal(cf);
    STGMEDIUM medium{};
    medium.tymed = TYMED_HGLOBAL;
    medium.hGlobal = block;
    return obj.SetData(&format, &medium, release);
}

HRESULT queryBlock(const IDataObject& obj, unsigned long cf, HGLOBAL* block) {
    if (!block) return E_POINTER;
    *block = nullptr;

    platform::StgMedium medium;
    const FORMATETC format = CDataObject::formatHGlobal(cf);
    const HRESULT hr = medium.receiveFrom(obj, format);
    if (FAILED(hr)) return hr;
    if (medium.get().tymed != TYMED_HGLOBAL) return E_INVALIDARG;
    *block = ::OleDuplicateData(medium.get().hGlobal, format.cfFormat, 0);
    return *block ? S_OK : E_INVALIDARG;
}

// The number of clipboard formats times the number of storage medium types. An enumerator normally
// returns each clipboard format at most once for each storage medium type. An enumerator that
// returns more than kMaxFormats formats may never end.
constexpr int kMaxFormats = 65536 * 7;

using TargetDevice = platform::TaskMemory<DVTARGETDEVICE>;

// Enumerates at most kMaxFormats formats of a data object.
class FormatEnumerator {
public:
    /// @return S_OK on success; E_FAIL if EnumFormatEtc succeeds but returns no enumerator;
    ///         otherwise the error code from EnumFormatEtc.
    HRESULT open(const IDataObject& obj) {
        IEnumFORMATETC* formats = nullptr;
        // EnumFormatEtc is not a const method, but it does not change the object.
        const HRESULT hr = const_cast<IDataObject&>(obj).EnumFormatEtc(DATADIR_GET, &formats);
        if (FAILED(hr)) return hr;
        m_formats.Attach(formats);
        return formats ? S_OK : E_FAIL;
    }

    /// @param[out] device  Takes ownership of the target device of `format`.
    /// @return true if the enumerator returned a format; false if there are no more formats or if
    ///         kMaxFormats formats have been returned.
    bool next(FORMATETC& format, TargetDevice& device) {
        format = FORMATETC{};
        ULONG fetched = 0;
        if (m_count == kMaxFormats || m_formats->Next(1, &format, &fetched) != S_OK) return false;
        device.adopt(format.ptd);
        ++m_count;
        return true;
    }

    int count() const { return m_count; }

private:
    ATL::CComPtr<IEnumFORMATETC> m_formats;
    int m_count = 0;
};

}  // namespace

FORMATETC CDataObject::formatHGlobal(unsigned long cf) { return contentFormat(cf, TYMED_HGLOBAL); }

FORMATETC CDataObject::formatIStream(unsigned long cf) { return contentFormat(cf, TYMED_ISTREAM); }

FORMATETC CDataObject::formatGdi(unsigned long cf) { return contentFormat(cf, TYMED_GDI); }

HRESULT CDataObject::acceptHGlobal(IDataObject& obj, unsigned long cf) {
    return accept(obj, formatHGlobal(cf));
}

HRESULT CDataObject::acceptIStream(IDataObject& obj, unsigned long cf) {
    return accept(obj, formatIStream(cf));
}

HRESULT CDataObject::acceptGdi(IDataObject& obj, unsigned long cf) {
    return accept(obj, formatGdi(cf));
}

HRESULT CDataObject::AcceptTextData(IDataObject& obj, unsigned long cf) {
    return acceptHGlobal(obj, cf);
}

HRESULT CDataObject::AcceptHGLOBALData(IDataObject& obj, unsigned long cf) {
    return acceptHGlobal(obj, cf);
}

HRESULT CDataObject::AcceptHDIBData(IDataObject& obj, unsigned long cf) {
    return acceptHGlobal(obj, cf);
}

HRESULT CDataObject::AcceptHBITMAPData(IDataObject& obj, unsigned long cf) {
    return acceptGdi(obj, cf);
}

HRESULT CDataObject::AcceptIUnknownData(IDataObject& obj, unsigned long cf) {
    return acceptHGlobal(obj, cf);
}

HRESULT CDataObject::SetTextData(IDataObject& obj, unsigned long cf, const char* text, int len) {
    return setText(obj, cf, text, len);
}

HRESULT CDataObject::SetTextData(IDataObject& obj, unsigned long cf, const wchar_t* text, int len) {
    return setText(obj, cf, text, len);
}

HRESULT CDataObject::SetCFTextData(IDataObject& obj, const char* text, int len) {
    const HRESULT hr = SetTextData(obj, CF_TEXT, text, len);
    if (FAILED(hr)) return hr;
    // Copy the text, because the conversion needs a terminator. If `len` is not negative, `text`
    // may have no terminator.
    const std::string narrow(text, lengthOf(text, len));
    std::wstring wide;
    i18nstr::mb2wide(narrow.c_str(), -1, wide);  // `wide` is empty if the conversion fails
    return SetTextData(obj, CF_UNICODETEXT, wide.c_str(), -1);
}

HRESULT CDataObject::SetCFUnicodeTextData(IDataObject& obj, const wchar_t* text, int len) {
    const HRESULT hr = SetTextData(obj, CF_UNICODETEXT, text, len);
    if (FAILED(hr)) return hr;
    const std::wstring wide(text, lengthOf(text, len));
    std::string narrow;
    i18nstr::wide2mb(wide.c_str(), -1, narrow);
    return SetTextData(obj, CF_TEXT, narrow.c_str(), -1);
}

HRESULT CDataObject::QueryTextData(const IDataObject& obj, unsigned long cf, char** text,
                                   unsigned __int64* len) {
    return queryText(obj, cf, text, len);
}

HRESULT CDataObject::QueryTextData(const IDataObject& obj, unsigned long cf, wchar_t** text,
                                   unsigned __int64* len) {
    return queryText(obj, cf, text, len);
}

HRESULT CDataObject::SetHGLOBALData(IDataObject& obj, unsigned long cf, void* hGlobal,
                                    int fRelease) {
    return setBlock(obj, cf, hGlobal, fRelease);
}

HRESULT CDataObject::QueryHGLOBALData(const IDataObject& obj, unsigned long cf, void** hGlobal) {
    return queryBlock(obj, cf, hGlobal);
}

HRESULT CDataObject::SetHDIBData(IDataObject& obj, unsigned long cf, void* hDib, int fRelease) {
    return setBlock(obj, cf, hDib, fRelease);
}

HRESULT CDataObject::QueryHDIBData(const IDataObject& obj, unsigned long cf, void** hDib) {
    return queryBlock(obj, cf, hDib);
}

HRESULT CDataObject::SetHBITMAPData(IDataObject& obj, unsigned long cf, HBITMAP hbm, int fRelease) {
    if (!hbm) return E_INVALIDARG;
    FORMATETC format = formatGdi(cf);
    STGMEDIUM medium{};
    medium.tymed = TYMED_GDI;
    medium.hBitmap = hbm;
    return obj.SetData(&format, &medium, fRelease);
}

HRESULT CDataObject::QueryHBITMAPData(const IDataObject& obj, unsigned long cf, HBITMAP* hbm) {
    if (!hbm) return E_POINTER;
    *hbm = nullptr;

    platform::StgMedium medium;
    const HRESULT hr = medium.receiveFrom(obj, formatGdi(cf));
    if (FAILED(hr)) return hr;
    if (medium.get().tymed != TYMED_GDI) return E_INVALIDARG;
    // Do not use LR_COPYRETURNORG. With this flag, CopyImage can return the original bitmap, which
    // is freed with the medium.
    *hbm = static_cast<HBITMAP>(::CopyImage(medium.get().hBitmap, IMAGE_BITMAP, 0, 0, 0));
    return *hbm ? S_OK : E_INVALIDARG;
}

int CDataObject::GetDataCount(const IDataObject& obj) {
    FormatEnumerator formats;
    if (FAILED(formats.open(obj))) return 0;
    FORMATETC format;
    TargetDevice device;
    while (formats.next(format, device)) {
    }
    return formats.count();
}

HRESULT CDataObject::CopyData(IDataObject& source, IDataObject& target, unsigned short cf) {
    FormatEnumerator formats;
    HRESULT hr = formats.open(source);
    if (FAILED(hr)) return hr;

    FORMATETC format;
    TargetDevice device;
    do {
        if (!formats.next(format, device)) return DV_E_CLIPFORMAT;
    } while (format.cfFormat != cf);

    platform::StgMedium medium;
    hr = medium.receiveFrom(source, format);
    if (FAILED(hr)) return hr;

    STGMEDIUM offered = medium.get();
    hr = target.SetData(&format, &offered, FALSE);
    // If SetData succeeds, the target device is never freed: `target` may store the pointer to the
    // DVTARGETDEVICE, as CDataObject does.
    if (SUCCEEDED(hr)) static_cast<void>(device.detach());
    return hr;
}
