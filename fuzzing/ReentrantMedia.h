#pragma once
// Tests re-entrant calls to a data object. The data object calls AddRef and Release on its streams,
// pUnkForRelease objects and sinks, and these objects then call methods of the data object. The
// input selects all calls to the data object, including the re-entrant calls.
#include <windows.h>

#include <ole2.h>

#include <memory>
#include <utility>
#include <vector>

#include "clipboard/CDataObject.h"
#include "fuzzing/Fuzzer.h"
#include "fuzzing/Script.h"
#include "tests/support/Calling.h"
#include "tests/support/DataObjects.h"

namespace fuzz {

class ReentrantMedia {
public:
    explicit ReentrantMedia(Script& script) : m_script(script) {
        require(CDataObject::CreateInstance(&m_object) == S_OK);
    }

    /// Makes the calls that the script selects, and then releases the data object. Checks that the
    /// data object has released all streams, pUnkForRelease objects and sinks.
    void run() {
        while (!m_script.ended() && m_calls < kMostCalls) call();
        m_object->Release();
        for (const auto& stream : m_streams) require(stream->references() == 0);
        for (const auto& sink : m_sinks) require(sink->references() == 0);
        for (const auto& [owner, block] : m_owners) {
            require(owner->references() == 0);
            ::GlobalFree(block);
        }
    }

private:
    static constexpr int kMostCalls = 60, kDeepest = 6;

    // Streams and blocks use different formats, so that CopyData copies only streams. If CopyData
    // copied a block with a pUnkForRelease, the data object would store a duplicate of the block
    // and never free the duplicate.
    CLIPFORMAT streamFormat() { return static_cast<CLIPFORMAT>(300 + m_script.next() % 2); }
    CLIPFORMAT blockFormat() { return static_cast<CLIPFORMAT>(302 + m_script.next() % 2); }

    void call() {
        if (++m_calls > kMostCalls || m_depth == kDeepest) return;
        ++m_depth;
        switch (m_script.next() % 10) {
            case 0:
                storeStream(TRUE);
                break;
            case 1:
                storeStream(FALSE);
                break;
            case 2:
                storeBlock();
                break;
            case 3:
                copyStream();
                break;
            case 4:
                copyBlock();
                break;
            case 5:
                m_object->AddRef();
                m_object->Release();
                break;
            case 6:
                enumerate();
                break;
            case 7:
                if (!m_inSink) connect();
                break;
            case 8:
                if (!m_inSink) m_object->DUnadvise(m_script.next());
                break;
            default:
                CDataObject::CopyData(*m_object, *m_object, streamFormat());
        }
        --m_depth;
    }

    /// Makes every AddRef and the last Release of `object` call the data object.
    template <class Double>
    void callFromReferences(Double& object) {
        object.onAddRef = object.onLastRelease = [this] { call(); };
    }

    void storeStream(BOOL release) {
        m_streams.push_back(std::make_unique<testsupport::CallingStream>());
        auto* const stream = m_streams.back().get();
        if (release) stream->AddRef();  // the data object's reference
        callFromReferences(*stream);
        const FORMATETC format = CDataObject::formatIStream(streamFormat());
        const HRESULT hr = testsupport::setData(
            *m_object, format, testsupport::mediumOf(TYMED_ISTREAM, stream), release);
        require(hr == S_OK || hr == E_UNEXPECTED);
        if (hr != S_OK && release) stream->Release();
    }

    void storeBlock() {
        m_owners.emplace_back(std::make_unique<testsupport::CallingOwner>(),
                              testsupport::newBlock("block"));
        auto* const owner = m_owners.back().first.get();
        const HGLOBAL block = m_owners.back().second;
        owner->AddRef();  // the data object's reference
        callFromReferences(*owner);
        const FORMATETC format = CDataObject::formatHGlobal(blockFormat());
        const HRESULT hr = testsupport::setData(
            *m_object, format, testsupport::mediumOf(TYMED_HGLOBAL, block, owner), TRUE);
        require(hr == S_OK || hr == E_UNEXPECTED);
        if (hr != S_OK) owner->Release();
    }

    void copyStream() {
        FORMATETC format = CDataObject::formatIStream(streamFormat());
        testsupport::ReceivedMedium medium;
        const HRESULT hr = m_object->GetData(&format, &medium);
        require((hr == S_OK) == (medium.tymed == TYMED_ISTREAM));
        if (m_script.next() % 2) call();
    }

    void copyBlock() {
        FORMATETC format = CDataObject::formatHGlobal(blockFormat());
        testsupport::ReceivedMedium medium;
        if (m_object->GetData(&format, &medium) != S_OK) return;
        require(testsupport::bytesOf(medium.hGlobal) == "block");
        ::GlobalFree(medium.hGlobal);  // releasing the medium does not free this duplicate
        if (m_script.next() % 2) call();
    }

    void enumerate() {
        ATL::CComPtr<IEnumFORMATETC> enumerator;
        require(m_object->EnumFormatEtc(DATADIR_GET, &enumerator) == S_OK);
        if (m_script.next() % 2) call();
        FORMATETC format{};
        int formats = 0;
        while (enumerator->Next(1, &format, nullptr) == S_OK) require(++formats <= 4);
    }

    void connect() {
        m_sinks.push_back(std::make_unique<testsupport::CallingSink>());
        auto* const sink = m_sinks.back().get();
        sink->onAddRef = sink->onLastRelease = [this] {
            const bool wasInSink = std::exchange(m_inSink, true);
            call();
            m_inSink = wasInSink;
        };
        FORMATETC format = CDataObject::formatIStream(streamFormat());
        DWORD connection = 0;
        m_object->DAdvise(&format, ADVF_NODATA, sink, &connection);
    }

    Script& m_script;
    IDataObject* m_object = nullptr;
    int m_calls = 0, m_depth = 0;
    // True while the advise holder calls a sink. During this time, the sink does not call DAdvise
    // or DUnadvise, because these calls would test the advise holder, which is system code.
    bool m_inSink = false;
    std::vector<std::unique_ptr<testsupport::CallingStream>> m_streams;
    std::vector<std::unique_ptr<testsupport::CallingSink>> m_sinks;
    std::vector<std::pair<std::unique_ptr<testsupport::CallingOwner>, HGLOBAL>> m_owners;
};

}  // namespace fuzz
