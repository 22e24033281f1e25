#pragma once
// A ForeignDataObject whose methods return results, media and formats that the input selects.
#include <windows.h>

#include <ole2.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "fuzzing/Fuzzer.h"
#include "fuzzing/Script.h"
#include "tests/support/ForeignDataObject.h"
#include "tests/support/ScriptedStream.h"

namespace fuzz {

class ScriptedDataObject : public testsupport::ForeignDataObject {
public:
    /// @param isStored  True if the media and formats of this object are stored in a CDataObject.
    ///                  In this case, no medium has a pUnkForRelease, because a CDataObject never
    ///                  frees its duplicate of a block whose medium has a pUnkForRelease. No format
    ///                  has a target device, because a CDataObject never frees the target devices
    ///                  of its formats.
    ScriptedDataObject(Script& script, bool isStored) : m_script(script), m_isStored(isStored) {
        onGetData = [this](const FORMATETC&, STGMEDIUM& medium) { return getData(medium); };
        onQueryGetData = [this](const FORMATETC&) { return m_script.oneOf(kResults); };
        onSetData = [this](const FORMATETC&, STGMEDIUM& medium, bool release) {
            return setData(medium, release);
        };
        onEnumFormats = [this](IEnumFORMATETC** enumerator) { return enumFormats(enumerator); };
    }

    /// Checks that all references have been released, and frees the streams and blocks.
    ~ScriptedDataObject() override {
        require(references() == 0 && m_owner.references() == 0 && m_enumerator.references() == 0);
        for (const auto& stream : m_streams) require(stream->references() == 0);
        for (const HGLOBAL block : m_ownedBlocks) ::GlobalFree(block);
    }

private:
    static constexpr HRESULT kResults[] = {S_OK,    S_OK,   S_OK,           S_OK,
                                           S_FALSE, E_FAIL, DV_E_FORMATETC, E_OUTOFMEMORY};
    static constexpr DWORD kTypes[] = {
        TYMED_HGLOBAL, TYMED_ISTREAM, TYMED_HGLOBAL, TYMED_FILE,  TYMED_GDI,  TYMED_ISTORAGE,
        TYMED_HGLOBAL, TYMED_ISTREAM, TYMED_MFPICT,  TYMED_ENHMF, TYMED_NULL, TYMED_HGLOBAL | 4,
    };

    HRESULT getData(STGMEDIUM& medium) {
        const HRESULT hr = m_script.oneOf(kResults);
        if (FAILED(hr)) {  // the receiver must not release the medium after a failure
            medium.tymed = m_script.oneOf(kTypes);
            medium.hGlobal = reinterpret_cast<HGLOBAL>(std::size_t{m_script.next()});
            return hr;
        }
        medium.tymed = m_script.oneOf(kTypes);
        fillMedium(medium);
        return hr;
    }

    void fillMedium(STGMEDIUM& medium) {
        const unsigned choice = m_script.next();
        if (choice % 4 == 0) return;  // a medium without a handle
        const bool owned = !m_isStored && choice % 4 == 1;
        switch (medium.tymed) {
            case TYMED_HGLOBAL:
                medium.hGlobal = newBlock(choice & 8 ? GHND : GMEM_FIXED);
                if (owned) m_ownedBlocks.push_back(medium.hGlobal);
                break;
            case TYMED_MFPICT:
                medium.hGlobal = ::GlobalAlloc(GHND, sizeof(METAFILEPICT));
                if (owned) m_ownedBlocks.push_back(medium.hGlobal);
                break;
            case TYMED_ISTREAM:
                medium.pstm = newStream();
                medium.pstm->AddRef();
                break;
            case TYMED_FILE: {
                // No file can have this name, so ReleaseStgMedium fails quickly, without searching
                // a folder.
                constexpr wchar_t kName[] = L"<>";
                medium.lpszFileName = static_cast<LPOLESTR>(::CoTaskMemAlloc(sizeof kName));
                std::memcpy(medium.lpszFileName, kName, sizeof kName);
                break;
            }
            case TYMED_GDI:
                if (!owned) medium.hBitmap = ::CreateBitmap(1, 1, 1, 1, nullptr);
                break;
            default:
                break;
        }
        if (!owned) return;
        medium.pUnkForRelease = &m_owner;
        m_owner.AddRef();
    }

    HGLOBAL newBlock(UINT flags) {
        const std::string_view bytes = m_script.take(m_script.next());
        const HGLOBAL block = ::GlobalAlloc(flags, bytes.size());
        if (void* const data = ::GlobalLock(block)) {
            bytes.copy(static_cast<char*>(data), bytes.size());
            ::GlobalUnlock(block);
        }
        return block;
    }

    IStream* newStream() {
        m_streams.push_back(std::make_unique<testsupport::ScriptedStream>(
            std::string(m_script.take(m_script.next()))));
        auto& stream = *m_streams.back();
        stream.onRead = [this, &stream](void* data, ULONG size, ULONG* read) {
            return readStream(stream, data, size, read);
        };
        if (m_script.next() % 8 == 7)
            stream.onSeek = [](LARGE_INTEGER, DWORD) { return STG_E_INVALIDFUNCTION; };
        return &stream;
    }

    HRESULT readStream(testsupport::ScriptedStream& stream, void* data, ULONG size, ULONG* read) {
        // Limit the number and the size of reads, because many or large reads would take seconds.
        if (++m_reads > 40 || size > (1 << 18)) return STG_E_REVERTED;
        switch (m_script.next() % 8) {
            case 1:
                return stream.readBytes(data, (std::min)(size, ULONG{1}), read);
            case 2:
                *read = size;
                return E_FAIL;
            case 3:
                return S_OK;  // `*read` is not set
            case 4:
                std::memset(data, 'x', size);
                *read = 0xFFFFFFFF;
                return S_OK;
            case 5:
                stream.readBytes(data, size, read);
                return S_FALSE;
            default:
                return stream.readBytes(data, size, read);
        }
    }

    HRESULT setData(STGMEDIUM& medium, bool release) {
        const HRESULT hr = m_script.oneOf(kResults);
        if (SUCCEEDED(hr) && release) ::ReleaseStgMedium(&medium);
        if (FAILED(hr)) medium = STGMEDIUM{};  // the caller still owns the medium
        return hr;
    }

    HRESULT enumFormats(IEnumFORMATETC** enumerator) {
        const HRESULT hr = m_script.oneOf(kResults);
        if (FAILED(hr)) {
            *enumerator = reinterpret_cast<IEnumFORMATETC*>(std::size_t{8});
            return hr;
        }
        if (m_script.next() % 8 == 7) return hr;  // success without an enumerator
        m_enumerator.onNext = [this, remainingFormats = 20](FORMATETC& format) mutable {
            return remainingFormats-- > 0 ? nextFormat(format) : S_FALSE;
        };
        return m_enumerator.QueryInterface(IID_IEnumFORMATETC,
                                           reinterpret_cast<void**>(enumerator));
    }

    HRESULT nextFormat(FORMATETC& format) {
        const unsigned choice = m_script.next();
        if (choice == 0) return S_FALSE;
        const HRESULT hr = choice & 128 ? m_script.oneOf(kResults) : S_OK;
        format = {static_cast<CLIPFORMAT>(choice % 4), nullptr, DVASPECT_CONTENT, -1,
                  m_script.oneOf(kTypes)};
        if (choice & 16) format.lindex = 0;
        if (choice & 32) format.dwAspect = DVASPECT_ICON;
        // The receiver frees `ptd` only if Next returns S_OK.
        if (choice & 64 && hr == S_OK && !m_isStored) {
            format.ptd = static_cast<DVTARGETDEVICE*>(::CoTaskMemAlloc(16));
            std::memset(static_cast<void*>(format.ptd), 0, 16);
        }
        return hr;
    }

    Script& m_script;
    const bool m_isStored;
    int m_reads = 0;
    testsupport::CountingUnknown m_owner;
    testsupport::ForeignEnumerator m_enumerator;
    std::vector<std::unique_ptr<testsupport::ScriptedStream>> m_streams;
    std::vector<HGLOBAL> m_ownedBlocks;
};

}  // namespace fuzz
