#pragma once
// Data objects, formats and media for clipboard tests.
#include <windows.h>

#include <ole2.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "clipboard/CDataObject.h"
#include "dll/atl.h"
#include "tests/support/ProcessCounts.h"

namespace testsupport {

// Returns true under Wine. A test that cannot run under Wine uses doctest::skip(underWine()) and
// states the reason in a comment.
inline bool underWine() {
    return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

constexpr CLIPFORMAT kPrivateFormat = CF_PRIVATEFIRST + 1;
constexpr CLIPFORMAT kOtherFormat = CF_PRIVATEFIRST + 2;

inline ATL::CComPtr<IDataObject> newDataObject() {
    ATL::CComPtr<IDataObject> object;
    CDataObject::CreateInstance(&object);
    return object;
}

inline FORMATETC formatOf(CLIPFORMAT cf, DWORD tymed, DWORD aspect = DVASPECT_CONTENT) {
    return {cf, nullptr, aspect, -1, tymed};
}

// Creates a movable global memory block that contains `bytes`. The caller owns the block.
inline HGLOBAL newBlock(std::string_view bytes) {
    const HGLOBAL block = GlobalAlloc(GHND, bytes.size());
    if (void* const data = GlobalLock(block)) {
        bytes.copy(static_cast<char*>(data), bytes.size());
        GlobalUnlock(block);
    }
    return block;
}

inline std::string bytesOf(HGLOBAL block) {
    std::string bytes;
    if (const void* const data = GlobalLock(block)) {
        bytes.assign(static_cast<const char*>(data), GlobalSize(block));
        GlobalUnlock(block);
    }
    return bytes;
}

// Returns true if the block has not been freed. Call this function before the next allocation,
// because a new block could have the same handle.
inline bool isBlock(HGLOBAL block) { return GlobalFlags(block) != GMEM_INVALID_HANDLE; }

inline STGMEDIUM mediumOf(DWORD tymed, void* handle, IUnknown* owner = nullptr) {
    STGMEDIUM medium{};
    medium.tymed = tymed;
    medium.hGlobal = handle;
    medium.pUnkForRelease = owner;
    return medium;
}

// A storage medium that is released at the end of the scope.
class ReceivedMedium : public STGMEDIUM {
public:
    ReceivedMedium() : STGMEDIUM{} {}
    ReceivedMedium(const ReceivedMedium&) = delete;
    ReceivedMedium& operator=(const ReceivedMedium&) = delete;
    ~ReceivedMedium() { ReleaseStgMedium(this); }
};

inline HRESULT setData(IDataObject& object, FORMATETC format, STGMEDIUM medium, BOOL release) {
    return object.SetData(&format, &medium, release);
}

// Stores `bytes` in the object as a new global memory block. On success, the object owns the block.
inline HRESULT setBlock(IDataObject& object, CLIPFORMAT cf, std::string_view bytes) {
    FORMATETC format = formatOf(cf, TYMED_HGLOBAL);
    STGMEDIUM medium = mediumOf(TYMED_HGLOBAL, newBlock(bytes));
    const HRESULT hr = object.SetData(&format, &medium, TRUE);
    if (FAILED(hr)) ReleaseStgMedium(&medium);
    return hr;
}

// Returns the bytes of the global memory block that the object returns for a format, or "?" if
// GetData fails.
inline std::string blockOf(IDataObject& object, CLIPFORMAT cf) {
    FORMATETC format = formatOf(cf, TYMED_HGLOBAL);
    ReceivedMedium medium;
    return object.GetData(&format, &medium) == S_OK ? bytesOf(medium.hGlobal) : "?";
}

// Returns the formats that an object enumerates, in the order of the enumeration. The function
// frees the `ptd` member of each format and sets it to null.
inline std::vector<FORMATETC> formatsOf(IDataObject& object) {
    std::vector<FORMATETC> formats;
    ATL::CComPtr<IEnumFORMATETC> enumerator;
    if (object.EnumFormatEtc(DATADIR_GET, &enumerator) != S_OK) return formats;
    FORMATETC format{};
    while (enumerator->Next(1, &format, nullptr) == S_OK) {
        CoTaskMemFree(format.ptd);
        format.ptd = nullptr;
        formats.push_back(format);
    }
    return formats;
}

// Returns the `cfFormat` and `tymed` members of each FORMATETC that an object enumerates.
inline std::vector<std::pair<int, int>> listOf(IDataObject& object) {
    std::vector<std::pair<int, int>> list;
    for (const FORMATETC& format : formatsOf(object))
        list.emplace_back(format.cfFormat, static_cast<int>(format.tymed));
    return list;
}

// Returns the number of heap blocks that a run of `body` allocates and does not free. Runs `body`
// twice before the measurement, to fill the caches that remain until the end of the process.
template <class Body>
long blocksLeftBy(Body&& body) {
    body();
    body();
    const auto leftByOneRun = [&body] {
        const long before = heapBlocks();
        body();
        return heapBlocks() - before;
    };
    return blocksLeftByEachRun(leftByOneRun, 0);
}

}  // namespace testsupport
