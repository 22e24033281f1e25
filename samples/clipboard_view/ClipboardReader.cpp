#include "samples/clipboard_view/ClipboardReader.h"

#include <windows.h>

#include <ole2.h>

#include <algorithm>
#include <iterator>
#include <optional>

#include <I18nResource.h>

#include "samples/clipboard_view/ClipboardAccess.h"

namespace {

constexpr std::size_t kMaxBytes = 256u << 20;

/// Returns true if the clipboard stores data in this format as a memory block and not, for example,
/// as a bitmap handle.
bool isBlock(unsigned format) {
    constexpr unsigned kHandleFormats[] = {CF_BITMAP,          CF_METAFILEPICT,  CF_PALETTE,
                                           CF_ENHMETAFILE,     CF_OWNERDISPLAY,  CF_DSPBITMAP,
                                           CF_DSPMETAFILEPICT, CF_DSPENHMETAFILE};
    return std::ranges::find(kHandleFormats, format) == std::end(kHandleFormats) &&
           (format < CF_GDIOBJFIRST || format > CF_GDIOBJLAST);
}

}  // namespace

std::vector<ClipboardFormat> readFormats() {
    if (retryWhileClipboardIsBusy(probeClipboard) != S_OK) throw ReadFailure::kBusy;
    ATL::CComPtr<IEnumFORMATETC> formats;
    const HRESULT hr = retryWhileClipboardIsBusy([&formats] {
        ATL::CComPtr<IDataObject> object;
        const HRESULT opened = ::OleGetClipboard(&object);
        return opened == S_OK ? object->EnumFormatEtc(DATADIR_GET, &formats) : opened;
    });
    if (hr == CLIPBRD_E_CANT_OPEN) throw ReadFailure::kBusy;
    if (hr != S_OK) throw ReadFailure::kRefused;

    std::vector<ClipboardFormat> found;
    FORMATETC format{};
    while (formats->Next(1, &format, nullptr) == S_OK) {
        ::CoTaskMemFree(format.ptd);
        found.push_back({format.cfFormat, nameOfFormat(format.cfFormat), format.tymed});
    }
    return found;
}

std::string readBytes(unsigned format) {
    if (!isBlock(format)) throw ReadFailure::kNoBytes;
    std::optional<OpenedClipboard> clipboard;
    retryWhileClipboardIsBusy(
        [&clipboard] { return clipboard.emplace().isOpen() ? S_OK : CLIPBRD_E_CANT_OPEN; });
    if (!clipboard->isOpen()) throw ReadFailure::kBusy;
    if (!::IsClipboardFormatAvailable(format)) throw ReadFailure::kMissing;

    const HANDLE block = ::GetClipboardData(format);  // may wait until the owner delivers the data
    if (!block) throw ReadFailure::kRefused;
    const SIZE_T size = ::GlobalSize(block);
    if (size > kMaxBytes) throw ReadFailure::kTooLarge;
    const void* const memory = ::GlobalLock(block);
    if (!memory) return {};  // an empty block
    std::string bytes(static_cast<const char*>(memory), size);
    ::GlobalUnlock(block);
    return bytes;
}
