// Tests calls that a data object receives while it copies a medium, or releases a medium or a sink.
// The calls come from the AddRef and Release methods of streams, sinks and pUnkForRelease objects.
#include <doctest/doctest.h>

#include <utility>
#include <vector>

#include "clipboard/CDataObject.h"
#include "clipboard/CDataObjectEntry.h"
#include "tests/clipboard/StoredBlocks.h"
#include "tests/support/AllocationSpy.h"
#include "tests/support/Calling.h"
#include "tests/support/DataObjects.h"

namespace {

using namespace testsupport;
using Formats = std::vector<std::pair<int, int>>;

constexpr CLIPFORMAT kFirst = CF_PRIVATEFIRST + 1, kSecond = CF_PRIVATEFIRST + 2,
                     kThird = CF_PRIVATEFIRST + 3;

// Creates a data object in guarded memory, so that any access to the object after its destruction
// crashes.
class GuardedObject {
public:
    GuardedObject() {
        guardPages(true);
        REQUIRE(CDataObject::CreateInstance(&m_object) == S_OK);
    }
    GuardedObject(const GuardedObject&) = delete;
    GuardedObject& operator=(const GuardedObject&) = delete;
    ~GuardedObject() {
        release();
        guardPages(false);
    }

    IDataObject& operator*() const { return *m_object; }
    IDataObject* operator->() const { return m_object; }

    /// @return The number of remaining references, or 0 if the object has been destroyed.
    ULONG release() {
        IDataObject* const object = std::exchange(m_object, nullptr);
        return object ? object->Release() : 0;
    }

private:
    IDataObject* m_object = nullptr;
};

// Stores a stream in the object, and transfers the only reference to the stream to the object.
void storeStream(IDataObject& object, CLIPFORMAT cf, CallingStream& stream) {
    stream.AddRef();
    REQUIRE(setData(object, formatOf(cf, TYMED_ISTREAM), mediumOf(TYMED_ISTREAM, &stream), TRUE) ==
            S_OK);
}

DWORD connect(IDataObject& object, CLIPFORMAT cf, IAdviseSink& sink) {
    FORMATETC format = formatOf(cf, TYMED_HGLOBAL);
    DWORD connection = 0;
    REQUIRE(object.DAdvise(&format, ADVF_NODATA, &sink, &connection) == S_OK);
    return connection;
}

TEST_CASE("A data object that is referenced during its destruction is destroyed once") {
    GuardedObject object;
    IDataObject& weak = *object;
    CallingStream stream, afterwards;
    storeStream(*object, kFirst, stream);
    storeStream(*object, kSecond, afterwards);
    stream.onLastRelease = [&weak] {
        weak.AddRef();
        weak.Release();
    };

    CHECK(object.release() == 0);

    CHECK(stream.references() == 0);
    CHECK(afterwards.references() == 0);
}

TEST_CASE("An entry that is referenced during its destruction is destroyed once") {
    guardPages(true);
    CallingStream stream;
    stream.AddRef();
    CDataObjectEntry* entry = nullptr;
    REQUIRE(CDataObjectEntry::CreateInstance(formatOf(kFirst, TYMED_ISTREAM),
                                             mediumOf(TYMED_ISTREAM, &stream), true,
                                             &entry) == S_OK);
    stream.onLastRelease = [entry] {
        entry->AddRef();
        entry->Release();
    };

    CHECK(entry->Release() == 0);

    CHECK(stream.references() == 0);
    guardPages(false);
}

TEST_CASE("A data object no longer lists a medium while it releases the medium") {
    GuardedObject object;
    IDataObject& weak = *object;
    CallingStream stream;
    storeStream(*object, kFirst, stream);
    storeBlock(*object, kSecond, "two");
    Formats listed;
    HRESULT own = S_OK;
    stream.onLastRelease = [&] {
        FORMATETC format = formatOf(kFirst, TYMED_ISTREAM);
        own = weak.QueryGetData(&format);
        listed = listOf(weak);
    };

    object.release();

    CHECK(own == DV_E_CLIPFORMAT);
    CHECK(listed == Formats{{kSecond, TYMED_HGLOBAL}});
}

TEST_CASE("SetData is rejected while the data object is destroyed") {
    GuardedObject object;
    IDataObject& weak = *object;
    CallingStream stream;
    CountingStream late;
    late.AddRef();
    storeStream(*object, kFirst, stream);
    HRESULT hr = S_OK;
    stream.onLastRelease = [&] {
        hr = setData(weak, formatOf(kThird, TYMED_ISTREAM), mediumOf(TYMED_ISTREAM, &late), TRUE);
    };

    object.release();

    CHECK(hr == E_UNEXPECTED);
    CHECK(late.references() == 1);
}

TEST_CASE("GetData copies the medium that it found even if the medium replaces its entry") {
    GuardedObject object;
    IDataObject& weak = *object;
    CallingStream stream;
    CallingStream replacement;
    storeStream(*object, kFirst, stream);
    stream.onAddRef = [&] { storeStream(weak, kFirst, replacement); };
    FORMATETC format = formatOf(kFirst, TYMED_ISTREAM);
    {
        ReceivedMedium medium;

        CHECK(object->GetData(&format, &medium) == S_OK);

        CHECK(medium.tymed == TYMED_ISTREAM);
        CHECK(medium.pstm == &stream);
        CHECK(stream.references() == 1);
    }
    CHECK(stream.references() == 0);
    CHECK(replacement.references() == 1);
}

TEST_CASE("GetData shares pUnkForRelease even if its AddRef replaces the entry") {
    GuardedObject object;
    IDataObject& weak = *object;
    const HGLOBAL block = newBlock("one");
    CallingOwner owner;
    owner.AddRef();
    REQUIRE(setData(*object, formatOf(kFirst, TYMED_HGLOBAL),
                    mediumOf(TYMED_HGLOBAL, block, &owner), TRUE) == S_OK);
    owner.onAddRef = [&] { storeBlock(weak, kFirst, "two"); };
    FORMATETC format = formatOf(kFirst, TYMED_HGLOBAL);
    STGMEDIUM medium{};

    CHECK(object->GetData(&format, &medium) == S_OK);

    CHECK(bytesOf(medium.hGlobal) == "one");
    CHECK(medium.pUnkForRelease == &owner);
    GlobalFree(medium.hGlobal);  // not freed by ReleaseStgMedium, because pUnkForRelease is set
    ReleaseStgMedium(&medium);
    CHECK(owner.references() == 0);
    CHECK(blockOf(*object, kFirst) == "two");
    GlobalFree(block);
}

TEST_CASE("SetData without release replaces an entry that was stored during the call") {
    GuardedObject object;
    IDataObject& weak = *object;
    CallingStream stream;
    CallingStream other;
    stream.onAddRef = [&] { storeStream(weak, kFirst, other); };

    CHECK(setData(*object, formatOf(kFirst, TYMED_ISTREAM), mediumOf(TYMED_ISTREAM, &stream),
                  FALSE) == S_OK);

    CHECK(listOf(*object) == Formats{{kFirst, TYMED_ISTREAM}});
    CHECK(stream.references() == 1);
    CHECK(other.references() == 0);
}

TEST_CASE("A replaced medium that stores its format again replaces the newer medium") {
    GuardedObject object;
    IDataObject& weak = *object;
    CallingStream first, second, third;
    storeStream(*object, kFirst, first);
    storeBlock(*object, kSecond, "two");
    first.onLastRelease = [&] { storeStream(weak, kFirst, third); };

    storeStream(*object, kFirst, second);

    CHECK(listOf(*object) == Formats{{kFirst, TYMED_ISTREAM}, {kSecond, TYMED_HGLOBAL}});
    CHECK(second.references() == 0);
    CHECK(third.references() == 1);
}

TEST_CASE("A sink that is released with the data object finds the object empty") {
    GuardedObject object;
    IDataObject& weak = *object;
    CallingSink sink;
    storeBlock(*object, kFirst, "one");
    const DWORD connection = connect(*object, kFirst, sink);
    HRESULT query = S_OK, disconnect = S_OK, reconnect = S_OK;
    sink.onLastRelease = [&] {
        FORMATETC format = formatOf(kFirst, TYMED_HGLOBAL);
        DWORD again = 0;
        query = weak.QueryGetData(&format);
        disconnect = weak.DUnadvise(connection);
        reconnect = weak.DAdvise(&format, ADVF_NODATA, &sink, &again);
    };

    object.release();

    CHECK(sink.references() == 0);
    CHECK(query == DV_E_CLIPFORMAT);
    CHECK(disconnect == E_FAIL);
    CHECK(reconnect == DV_E_FORMATETC);
}

TEST_CASE("A sink that is connected during the destruction of the data object is released") {
    GuardedObject object;
    IDataObject& weak = *object;
    CallingStream stream;
    CallingSink sink;
    HRESULT query = S_OK;
    storeStream(*object, kFirst, stream);
    storeBlock(*object, kSecond, "two");
    stream.onLastRelease = [&] { connect(weak, kSecond, sink); };
    sink.onLastRelease = [&] {
        FORMATETC format = formatOf(kSecond, TYMED_HGLOBAL);
        query = weak.QueryGetData(&format);
    };

    object.release();

    CHECK(sink.references() == 0);
    CHECK(query == DV_E_CLIPFORMAT);
}

TEST_CASE("A copy and an enumerator created during the destruction outlive the data object") {
    GuardedObject object;
    IDataObject& weak = *object;
    CallingStream stream;
    CountingStream kept;
    kept.AddRef();
    storeStream(*object, kFirst, stream);
    REQUIRE(setData(*object, formatOf(kSecond, TYMED_ISTREAM), mediumOf(TYMED_ISTREAM, &kept),
                    TRUE) == S_OK);
    ReceivedMedium medium;
    ATL::CComPtr<IEnumFORMATETC> enumerator;
    stream.onLastRelease = [&] {
        FORMATETC format = formatOf(kSecond, TYMED_ISTREAM);
        weak.GetData(&format, &medium);
        weak.EnumFormatEtc(DATADIR_GET, &enumerator);
    };

    object.release();

    CHECK(medium.pstm == &kept);
    CHECK(kept.references() == 1);
    FORMATETC format{};
    REQUIRE(enumerator);
    CHECK(enumerator->Next(1, &format, nullptr) == S_OK);
    CHECK(format.cfFormat == kSecond);
}

}  // namespace
