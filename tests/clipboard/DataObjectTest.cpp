#include <doctest/doctest.h>

#include <cstring>
#include <new>
#include <utility>
#include <vector>

#include "clipboard/CDataObject.h"
#include "clipboard/CDataObjectEntry.h"
#include "tests/support/AllocationSpy.h"
#include "tests/support/Counting.h"
#include "tests/support/DataObjects.h"
#include "tests/support/ReplacedImport.h"
#include "tests/support/Threads.h"

namespace {

using namespace testsupport;
using Formats = std::vector<std::pair<int, int>>;

HRESULT set(IDataObject& object, FORMATETC format, STGMEDIUM medium, BOOL release) {
    return object.SetData(&format, &medium, release);
}

HRESULT query(IDataObject& object, FORMATETC format) { return object.QueryGetData(&format); }

// A block stored with the object as its owner.
HGLOBAL storeBlock(IDataObject& object, CLIPFORMAT cf, std::string_view bytes) {
    const HGLOBAL block = newBlock(bytes);
    REQUIRE(set(object, formatOf(cf, TYMED_HGLOBAL), mediumOf(TYMED_HGLOBAL, block), TRUE) == S_OK);
    return block;
}

// A sink that counts what it hears.
class CountingSink : public Counting<IAdviseSink> {
public:
    int changes = 0;
    STDMETHODIMP_(void) OnDataChange(FORMATETC*, STGMEDIUM*) override { ++changes; }
    STDMETHODIMP_(void) OnViewChange(DWORD, LONG) override {}
    STDMETHODIMP_(void) OnRename(IMoniker*) override {}
    STDMETHODIMP_(void) OnSave() override {}
    STDMETHODIMP_(void) OnClose() override {}
};

class CountingStorage : public Counting<IStorage> {
public:
    STDMETHODIMP CreateStream(const OLECHAR*, DWORD, DWORD, DWORD, IStream**) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP OpenStream(const OLECHAR*, void*, DWORD, DWORD, IStream**) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP CreateStorage(const OLECHAR*, DWORD, DWORD, DWORD, IStorage**) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP OpenStorage(const OLECHAR*, IStorage*, DWORD, SNB, DWORD, IStorage**) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP CopyTo(DWORD, const IID*, SNB, IStorage*) override { return E_NOTIMPL; }
    STDMETHODIMP MoveElementTo(const OLECHAR*, IStorage*, const OLECHAR*, DWORD) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP Commit(DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP Revert() override { return E_NOTIMPL; }
    STDMETHODIMP EnumElements(DWORD, void*, DWORD, IEnumSTATSTG**) override { return E_NOTIMPL; }
    STDMETHODIMP DestroyElement(const OLECHAR*) override { return E_NOTIMPL; }
    STDMETHODIMP RenameElement(const OLECHAR*, const OLECHAR*) override { return E_NOTIMPL; }
    STDMETHODIMP SetElementTimes(const OLECHAR*, const FILETIME*, const FILETIME*,
                                 const FILETIME*) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP SetClass(REFCLSID) override { return E_NOTIMPL; }
    STDMETHODIMP SetStateBits(DWORD, DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP Stat(STATSTG*, DWORD) override { return E_NOTIMPL; }
};

// --- Creation, references, interfaces

TEST_CASE("CreateInstance hands out one reference") {
    IDataObject* object = nullptr;

    CHECK(CDataObject::CreateInstance(&object) == S_OK);

    REQUIRE(object);
    CHECK(object->AddRef() == 2);
    CHECK(object->Release() == 1);
    CHECK(object->Release() == 0);
}

TEST_CASE("CreateInstance refuses a null argument") {
    CHECK(CDataObject::CreateInstance(nullptr) == E_POINTER);
}

TEST_CASE("CreateInstance answers E_FAIL when memory runs out") {
    IDataObject* const garbage = reinterpret_cast<IDataObject*>(1);
    IDataObject* object = garbage;

    failNth(1);
    const HRESULT hr = CDataObject::CreateInstance(&object);
    failNth(0);

    CHECK(hr == E_FAIL);
    CHECK(object == nullptr);
}

TEST_CASE("QueryInterface of a data object answers IUnknown and IDataObject with one pointer") {
    const auto object = newDataObject();
    ATL::CComPtr<IUnknown> unknown;
    ATL::CComPtr<IDataObject> dataObject;

    CHECK(object->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&unknown)) == S_OK);
    CHECK(object->QueryInterface(IID_IDataObject, reinterpret_cast<void**>(&dataObject)) == S_OK);

    CHECK(static_cast<void*>(unknown.p) == static_cast<void*>(object.p));
    CHECK(dataObject.p == object.p);
    CHECK(object->AddRef() == 4);
    object->Release();
}

TEST_CASE("QueryInterface of a data object clears the pointer for what it does not have") {
    const auto object = newDataObject();
    void* other = object.p;

    CHECK(object->QueryInterface(IID_IPersist, &other) == E_NOINTERFACE);

    CHECK(other == nullptr);
}

TEST_CASE("QueryInterface of a data object refuses a null pointer") {
    CHECK(newDataObject()->QueryInterface(IID_IUnknown, nullptr) == E_INVALIDARG);
}

TEST_CASE("References to a data object may be taken and given back from many threads") {
    const auto object = newDataObject();

    onThreads(8, [&object] {
        for (int i = 0; i < 20000; ++i) {
            object->AddRef();
            object->Release();
        }
    });

    CHECK(object->AddRef() == 2);
    object->Release();
}

TEST_CASE("A class derived from CDataObject is destroyed by the last Release") {
    class Probe : public CDataObject {
    public:
        explicit Probe(int& destroyed) : m_destroyed(destroyed) {}

    protected:
        ~Probe() override { ++m_destroyed; }

    private:
        int& m_destroyed;
    };
    int destroyed = 0;
    auto* const probe = new Probe(destroyed);

    CHECK(probe->Release() == 0);

    CHECK(destroyed == 1);
}

// --- What GetData and QueryGetData answer

TEST_CASE("GetData and QueryGetData refuse a null format") {
    const auto object = newDataObject();
    STGMEDIUM medium{};

    CHECK(object->GetData(nullptr, &medium) == DV_E_FORMATETC);
    CHECK(object->GetData(nullptr, nullptr) == DV_E_FORMATETC);
    CHECK(object->QueryGetData(nullptr) == DV_E_FORMATETC);
}

TEST_CASE("GetData refuses a null medium") {
    const auto object = newDataObject();
    FORMATETC format = formatOf(CF_TEXT, TYMED_HGLOBAL);

    CHECK(object->GetData(&format, nullptr) == E_INVALIDARG);
}

TEST_CASE("GetData leaves an empty medium on failure") {
    const auto object = newDataObject();
    FORMATETC format = formatOf(CF_TEXT, TYMED_HGLOBAL);
    int garbage = 0;
    STGMEDIUM medium = mediumOf(TYMED_HGLOBAL, &garbage, reinterpret_cast<IUnknown*>(&garbage));

    CHECK(object->GetData(&format, &medium) == DV_E_CLIPFORMAT);

    CHECK(medium.tymed == TYMED_NULL);
    CHECK(medium.hGlobal == nullptr);
    CHECK(medium.pUnkForRelease == nullptr);
}

TEST_CASE("A request is refused by its index first then by its target device") {
    struct {
        const char* label;
        LONG index;
        bool device;
        HRESULT expected;
    } const rows[] = {
        {"index 0", 0, false, DV_E_LINDEX},
        {"index 0 and a target device", 0, true, DV_E_LINDEX},
        {"a target device", -1, true, DV_E_DVTARGETDEVICE},
    };
    DVTARGETDEVICE device{};
    const auto empty = newDataObject();
    const auto filled = newDataObject();
    REQUIRE(setBlock(*filled, CF_TEXT, "abc") == S_OK);

    for (const auto& row : rows) {
        CAPTURE(row.label);
        FORMATETC format = formatOf(CF_TEXT, TYMED_HGLOBAL);
        format.lindex = row.index;
        format.ptd = row.device ? &device : nullptr;
        STGMEDIUM medium{};
        CHECK(empty->QueryGetData(&format) == row.expected);
        CHECK(filled->QueryGetData(&format) == row.expected);
        CHECK(filled->GetData(&format, &medium) == row.expected);
    }
}

TEST_CASE("An empty data object has no format") {
    CHECK(query(*newDataObject(), formatOf(CF_TEXT, TYMED_HGLOBAL)) == DV_E_CLIPFORMAT);
}

TEST_CASE("A near miss is answered like a format that was never stored") {
    const auto object = newDataObject();
    REQUIRE(setBlock(*object, CF_TEXT, "abc") == S_OK);
    FORMATETC format = formatOf(CF_TEXT, TYMED_ISTREAM);
    STGMEDIUM medium{};

    CHECK(object->GetData(&format, &medium) == DV_E_CLIPFORMAT);
    CHECK(query(*object, formatOf(CF_TEXT, TYMED_ISTREAM)) == DV_E_CLIPFORMAT);
    CHECK(query(*object, formatOf(CF_TEXT, TYMED_NULL)) == DV_E_CLIPFORMAT);
    CHECK(query(*object, formatOf(CF_OEMTEXT, TYMED_HGLOBAL)) == DV_E_CLIPFORMAT);
}

TEST_CASE("A near miss in front does not hide the match behind it") {
    const auto object = newDataObject();
    REQUIRE(setBlock(*object, CF_TEXT, "abc") == S_OK);
    CountingStream stream;
    stream.AddRef();
    REQUIRE(set(*object, formatOf(CF_TEXT, TYMED_ISTREAM), mediumOf(TYMED_ISTREAM, &stream),
                TRUE) == S_OK);

    CHECK(query(*object, formatOf(CF_TEXT, TYMED_ISTREAM)) == S_OK);
}

TEST_CASE("Any bit of the requested storage types suffices") {
    const auto object = newDataObject();
    REQUIRE(setBlock(*object, CF_TEXT, "abc") == S_OK);
    FORMATETC format = formatOf(CF_TEXT, TYMED_ISTREAM | TYMED_HGLOBAL | TYMED_GDI);
    ReceivedMedium medium;

    CHECK(object->GetData(&format, &medium) == S_OK);

    CHECK(medium.tymed == TYMED_HGLOBAL);
    CHECK(bytesOf(medium.hGlobal) == "abc");
}

TEST_CASE("The first of several matches is served") {
    const auto object = newDataObject();
    CountingStream stream;
    stream.AddRef();
    REQUIRE(set(*object, formatOf(CF_TEXT, TYMED_ISTREAM), mediumOf(TYMED_ISTREAM, &stream),
                TRUE) == S_OK);
    REQUIRE(setBlock(*object, CF_TEXT, "abc") == S_OK);
    FORMATETC format = formatOf(CF_TEXT, TYMED_HGLOBAL | TYMED_ISTREAM);
    ReceivedMedium medium;

    CHECK(object->GetData(&format, &medium) == S_OK);

    CHECK(medium.tymed == TYMED_ISTREAM);
    CHECK(medium.pstm == &stream);
}

TEST_CASE("Any requested aspect gets content") {
    const auto object = newDataObject();
    REQUIRE(setBlock(*object, CF_TEXT, "abc") == S_OK);

    for (const DWORD aspect : {0u, 1u, 2u, 4u, 8u, 0xFFFFFFFFu}) {
        CAPTURE(aspect);
        CHECK(query(*object, formatOf(CF_TEXT, TYMED_HGLOBAL, aspect)) == S_OK);
    }
}

TEST_CASE("An entry stored without the content aspect never matches") {
    const auto object = newDataObject();
    REQUIRE(set(*object, formatOf(CF_TEXT, TYMED_HGLOBAL, DVASPECT_ICON),
                mediumOf(TYMED_HGLOBAL, newBlock("abc")), TRUE) == S_OK);

    CHECK(query(*object, formatOf(CF_TEXT, TYMED_HGLOBAL, DVASPECT_ICON)) == DV_E_CLIPFORMAT);
    CHECK(query(*object, formatOf(CF_TEXT, TYMED_HGLOBAL)) == DV_E_CLIPFORMAT);
}

TEST_CASE("An entry stored with content among its aspects matches") {
    const auto object = newDataObject();
    REQUIRE(set(*object, formatOf(CF_TEXT, TYMED_HGLOBAL, DVASPECT_CONTENT | DVASPECT_ICON),
                mediumOf(TYMED_HGLOBAL, newBlock("abc")), TRUE) == S_OK);

    CHECK(query(*object, formatOf(CF_TEXT, TYMED_HGLOBAL)) == S_OK);
}

TEST_CASE("GetDataHere is not implemented") {
    const auto object = newDataObject();
    REQUIRE(setBlock(*object, CF_TEXT, "abc") == S_OK);
    FORMATETC format = formatOf(CF_TEXT, TYMED_HGLOBAL);
    ReceivedMedium medium;

    CHECK(object->GetDataHere(&format, &medium) == E_NOTIMPL);
}

TEST_CASE("GetCanonicalFormatEtc calls every format canonical and writes nothing") {
    const auto object = newDataObject();
    FORMATETC in = formatOf(CF_TEXT, TYMED_HGLOBAL);
    FORMATETC out;
    std::memset(&out, 0xA5, sizeof out);
    FORMATETC untouched;
    std::memset(&untouched, 0xA5, sizeof untouched);

    CHECK(object->GetCanonicalFormatEtc(&in, &out) == 0x00040130);
    CHECK(object->GetCanonicalFormatEtc(nullptr, &out) == DATA_S_SAMEFORMATETC);

    CHECK(std::memcmp(&out, &untouched, sizeof out) == 0);
}

TEST_CASE("GetCanonicalFormatEtc refuses a null output") {
    FORMATETC in = formatOf(CF_TEXT, TYMED_HGLOBAL);

    CHECK(newDataObject()->GetCanonicalFormatEtc(&in, nullptr) == E_INVALIDARG);
}

// --- What SetData stores and where

TEST_CASE("SetData refuses null arguments and a medium without a handle") {
    const auto object = newDataObject();
    FORMATETC format = formatOf(CF_TEXT, TYMED_HGLOBAL);
    STGMEDIUM empty{};
    STGMEDIUM withoutHandle = mediumOf(TYMED_HGLOBAL, nullptr);
    FORMATETC formatOfNothing = formatOf(CF_TEXT, TYMED_NULL);

    CHECK(object->SetData(nullptr, &withoutHandle, TRUE) == E_POINTER);
    CHECK(object->SetData(&format, nullptr, TRUE) == E_POINTER);
    CHECK(object->SetData(&format, &withoutHandle, TRUE) == E_POINTER);
    CHECK(object->SetData(&format, &withoutHandle, FALSE) == E_POINTER);
    CHECK(object->SetData(&formatOfNothing, &empty, TRUE) == E_POINTER);

    CHECK(listOf(*object).empty());
}

TEST_CASE("SetData refuses an index and leaves the block to its caller") {
    const auto object = newDataObject();
    const HGLOBAL block = newBlock("abc");
    FORMATETC format = formatOf(CF_TEXT, TYMED_HGLOBAL);
    format.lindex = 0;

    CHECK(set(*object, format, mediumOf(TYMED_HGLOBAL, block), TRUE) == DV_E_LINDEX);

    CHECK(listOf(*object).empty());
    CHECK(GlobalFree(block) == nullptr);
}

TEST_CASE("SetData compares storage types exactly and leaves the block to its caller") {
    const auto object = newDataObject();
    const HGLOBAL block = newBlock("abc");

    CHECK(set(*object, formatOf(CF_TEXT, TYMED_ISTREAM), mediumOf(TYMED_HGLOBAL, block), TRUE) ==
          DV_E_TYMED);
    CHECK(set(*object, formatOf(CF_TEXT, TYMED_HGLOBAL | TYMED_ISTREAM),
              mediumOf(TYMED_HGLOBAL, block), TRUE) == DV_E_TYMED);

    CHECK(listOf(*object).empty());
    CHECK(GlobalFree(block) == nullptr);
}

TEST_CASE("SetData refuses an index before it compares storage types") {
    FORMATETC format = formatOf(CF_TEXT, TYMED_ISTREAM);
    format.lindex = 0;
    int handle = 0;

    CHECK(set(*newDataObject(), format, mediumOf(TYMED_HGLOBAL, &handle), TRUE) == DV_E_LINDEX);
}

TEST_CASE("SetData replaces the entry of the same format and storage type in its place") {
    const auto object = newDataObject();
    storeBlock(*object, CF_TEXT, "one");
    storeBlock(*object, kPrivateFormat, "two");

    storeBlock(*object, CF_TEXT, "three");

    CHECK(listOf(*object) == Formats{{CF_TEXT, TYMED_HGLOBAL}, {kPrivateFormat, TYMED_HGLOBAL}});
    CHECK(blockOf(*object, CF_TEXT) == "three");
    CHECK(blockOf(*object, kPrivateFormat) == "two");
}

TEST_CASE("SetData frees the medium that it replaces at once") {
    const auto object = newDataObject();
    CountingStream first, second;
    first.AddRef();
    second.AddRef();
    REQUIRE(set(*object, formatOf(CF_TEXT, TYMED_ISTREAM), mediumOf(TYMED_ISTREAM, &first), TRUE) ==
            S_OK);

    REQUIRE(set(*object, formatOf(CF_TEXT, TYMED_ISTREAM), mediumOf(TYMED_ISTREAM, &second),
                TRUE) == S_OK);

    CHECK(first.references() == 0);
    CHECK(second.references() == 1);
}

TEST_CASE("SetData replaces with the format of the newer entry") {
    const auto object = newDataObject();
    storeBlock(*object, CF_TEXT, "one");

    REQUIRE(set(*object, formatOf(CF_TEXT, TYMED_HGLOBAL, DVASPECT_ICON),
                mediumOf(TYMED_HGLOBAL, newBlock("two")), TRUE) == S_OK);

    const auto formats = formatsOf(*object);
    REQUIRE(formats.size() == 1);
    CHECK(formats[0].dwAspect == DVASPECT_ICON);
    CHECK(query(*object, formatOf(CF_TEXT, TYMED_HGLOBAL)) == DV_E_CLIPFORMAT);
}

TEST_CASE("SetData appends the same format with another storage type") {
    const auto object = newDataObject();
    storeBlock(*object, CF_TEXT, "one");
    CountingStream stream;
    stream.AddRef();

    REQUIRE(set(*object, formatOf(CF_TEXT, TYMED_ISTREAM), mediumOf(TYMED_ISTREAM, &stream),
                TRUE) == S_OK);

    CHECK(listOf(*object) == Formats{{CF_TEXT, TYMED_HGLOBAL}, {CF_TEXT, TYMED_ISTREAM}});
}

TEST_CASE("SetData appends every entry that nothing can match") {
    const auto object = newDataObject();
    DVTARGETDEVICE device{};
    FORMATETC withDevice = formatOf(CF_TEXT, TYMED_HGLOBAL);
    withDevice.ptd = &device;
    storeBlock(*object, CF_TEXT, "plain");

    for (int i = 0; i < 2; ++i) {
        CHECK(set(*object, withDevice, mediumOf(TYMED_HGLOBAL, newBlock("device")), TRUE) == S_OK);
        CHECK(set(*object, formatOf(CF_OEMTEXT, TYMED_HGLOBAL, DVASPECT_ICON),
                  mediumOf(TYMED_HGLOBAL, newBlock("icon")), TRUE) == S_OK);
    }

    CHECK(formatsOf(*object).size() == 5);
    CHECK(query(*object, withDevice) == DV_E_DVTARGETDEVICE);
    CHECK(blockOf(*object, CF_TEXT) == "plain");
}

TEST_CASE("An entry with a target device in front answers requests without one") {
    const auto object = newDataObject();
    DVTARGETDEVICE device{};
    FORMATETC withDevice = formatOf(CF_TEXT, TYMED_HGLOBAL);
    withDevice.ptd = &device;
    REQUIRE(set(*object, withDevice, mediumOf(TYMED_HGLOBAL, newBlock("device")), TRUE) == S_OK);

    CHECK(blockOf(*object, CF_TEXT) == "device");
}

TEST_CASE("SetData tells no sink of a change") {
    const auto object = newDataObject();
    storeBlock(*object, CF_TEXT, "one");
    CountingSink sink;
    FORMATETC format = formatOf(CF_TEXT, TYMED_HGLOBAL);
    DWORD connection = 0;
    REQUIRE(object->DAdvise(&format, ADVF_NODATA, &sink, &connection) == S_OK);

    storeBlock(*object, CF_TEXT, "two");

    CHECK(sink.changes == 0);
    CHECK(object->DUnadvise(connection) == S_OK);
}

// --- Who owns what

TEST_CASE("SetData with release takes over the block itself") {
    auto object = newDataObject();
    const HGLOBAL block = storeBlock(*object, kPrivateFormat, "abc");

    REQUIRE(isBlock(block));
    object.Release();

    CHECK_FALSE(isBlock(block));
}

TEST_CASE("SetData without release stores a duplicate and leaves the block to its caller") {
    const auto object = newDataObject();
    const HGLOBAL block = newBlock("abc");

    REQUIRE(set(*object, formatOf(kPrivateFormat, TYMED_HGLOBAL), mediumOf(TYMED_HGLOBAL, block),
                FALSE) == S_OK);
    CHECK(GlobalFree(block) == nullptr);

    CHECK(blockOf(*object, kPrivateFormat) == "abc");
}

TEST_CASE("GetData hands out a duplicate of the block") {
    auto object = newDataObject();
    const HGLOBAL block = storeBlock(*object, kPrivateFormat, "abc");
    FORMATETC format = formatOf(kPrivateFormat, TYMED_HGLOBAL);
    ReceivedMedium medium;

    REQUIRE(object->GetData(&format, &medium) == S_OK);

    CHECK(medium.hGlobal != block);
    CHECK(medium.pUnkForRelease == nullptr);
    object.Release();
    CHECK(bytesOf(medium.hGlobal) == "abc");
}

TEST_CASE("SetData with release takes over the reference to a stream") {
    CountingStream stream;
    {
        const auto object = newDataObject();
        stream.AddRef();

        REQUIRE(set(*object, formatOf(CF_TEXT, TYMED_ISTREAM), mediumOf(TYMED_ISTREAM, &stream),
                    TRUE) == S_OK);

        CHECK(stream.references() == 1);
    }
    CHECK(stream.references() == 0);
}

TEST_CASE("SetData without release takes a reference of its own to a stream") {
    CountingStream stream;
    stream.AddRef();
    {
        const auto object = newDataObject();

        REQUIRE(set(*object, formatOf(CF_TEXT, TYMED_ISTREAM), mediumOf(TYMED_ISTREAM, &stream),
                    FALSE) == S_OK);

        CHECK(stream.references() == 2);
    }
    CHECK(stream.references() == 1);
}

TEST_CASE("GetData shares streams and storages with one reference each") {
    const auto object = newDataObject();
    CountingStream stream;
    CountingStorage storage;
    stream.AddRef();
    storage.AddRef();
    REQUIRE(set(*object, formatOf(CF_TEXT, TYMED_ISTREAM), mediumOf(TYMED_ISTREAM, &stream),
                TRUE) == S_OK);
    REQUIRE(set(*object, formatOf(CF_TEXT, TYMED_ISTORAGE), mediumOf(TYMED_ISTORAGE, &storage),
                TRUE) == S_OK);
    {
        FORMATETC format = formatOf(CF_TEXT, TYMED_ISTREAM);
        ReceivedMedium streamMedium, storageMedium;

        REQUIRE(object->GetData(&format, &streamMedium) == S_OK);
        format.tymed = TYMED_ISTORAGE;
        REQUIRE(object->GetData(&format, &storageMedium) == S_OK);

        CHECK(streamMedium.pstm == &stream);
        CHECK(storageMedium.pstg == &storage);
        CHECK(stream.references() == 2);
        CHECK(storage.references() == 2);
    }
    CHECK(stream.references() == 1);
    CHECK(storage.references() == 1);
}

TEST_CASE("SetData with release takes over the reference to an owner") {
    CountingUnknown owner;
    const HGLOBAL block = newBlock("abc");
    {
        const auto object = newDataObject();
        owner.AddRef();

        REQUIRE(set(*object, formatOf(kPrivateFormat, TYMED_HGLOBAL),
                    mediumOf(TYMED_HGLOBAL, block, &owner), TRUE) == S_OK);

        CHECK(owner.references() == 1);
    }
    CHECK(owner.references() == 0);
    CHECK(GlobalFree(block) == nullptr);  // the block was the owner's all along
}

TEST_CASE("GetData shares the owner and duplicates its block all the same") {
    CountingUnknown owner;
    const HGLOBAL block = newBlock("abc");
    HGLOBAL duplicate = nullptr;
    {
        const auto object = newDataObject();
        owner.AddRef();
        REQUIRE(set(*object, formatOf(kPrivateFormat, TYMED_HGLOBAL),
                    mediumOf(TYMED_HGLOBAL, block, &owner), TRUE) == S_OK);
        FORMATETC format = formatOf(kPrivateFormat, TYMED_HGLOBAL);
        STGMEDIUM medium{};

        REQUIRE(object->GetData(&format, &medium) == S_OK);
        duplicate = medium.hGlobal;

        CHECK(medium.pUnkForRelease == &owner);
        CHECK(owner.references() == 2);
        CHECK(duplicate != block);
        CHECK(bytesOf(duplicate) == "abc");
        ReleaseStgMedium(&medium);
        CHECK(owner.references() == 1);
        CHECK(isBlock(duplicate));  // the owner's release does not free it
    }
    CHECK(owner.references() == 0);
    GlobalFree(duplicate);
    GlobalFree(block);
}

TEST_CASE("SetData without release shares the owner") {
    CountingUnknown owner;
    owner.AddRef();
    CountingStream stream;
    stream.AddRef();
    {
        const auto object = newDataObject();

        REQUIRE(set(*object, formatOf(kPrivateFormat, TYMED_ISTREAM),
                    mediumOf(TYMED_ISTREAM, &stream, &owner), FALSE) == S_OK);

        CHECK(owner.references() == 2);
        CHECK(stream.references() == 2);
    }
    CHECK(owner.references() == 1);
    CHECK(stream.references() == 1);
}

TEST_CASE("A medium that outlives its data object stays whole") {
    CountingUnknown owner;
    owner.AddRef();
    CountingStream stream;
    stream.AddRef();
    auto object = newDataObject();
    REQUIRE(set(*object, formatOf(kPrivateFormat, TYMED_ISTREAM),
                mediumOf(TYMED_ISTREAM, &stream, &owner), TRUE) == S_OK);
    FORMATETC format = formatOf(kPrivateFormat, TYMED_ISTREAM);
    {
        ReceivedMedium medium;
        REQUIRE(object->GetData(&format, &medium) == S_OK);

        object.Release();

        CHECK(owner.references() == 1);
        CHECK(stream.references() == 1);
    }
    CHECK(owner.references() == 0);
    CHECK(stream.references() == 0);
}

// --- Duplicates of each storage type

TEST_CASE("A bitmap is duplicated under the format CF_BITMAP") {
    const auto object = newDataObject();
    const HBITMAP bitmap = CreateBitmap(4, 3, 1, 32, nullptr);
    REQUIRE(set(*object, formatOf(CF_BITMAP, TYMED_GDI), mediumOf(TYMED_GDI, bitmap), FALSE) ==
            S_OK);
    CHECK(DeleteObject(bitmap));
    FORMATETC format = formatOf(CF_BITMAP, TYMED_GDI);
    ReceivedMedium medium;

    REQUIRE(object->GetData(&format, &medium) == S_OK);

    BITMAP description{};
    CHECK(medium.tymed == TYMED_GDI);
    CHECK(GetObjectW(medium.hBitmap, sizeof description, &description) != 0);
    CHECK(description.bmWidth == 4);
    CHECK(description.bmHeight == 3);
}

TEST_CASE("A bitmap under another format is handed out as a medium without a handle") {
    const auto object = newDataObject();
    REQUIRE(set(*object, formatOf(kPrivateFormat, TYMED_GDI),
                mediumOf(TYMED_GDI, CreateBitmap(4, 3, 1, 32, nullptr)), TRUE) == S_OK);
    FORMATETC format = formatOf(kPrivateFormat, TYMED_GDI);
    ReceivedMedium medium;

    CHECK(object->GetData(&format, &medium) == S_OK);

    CHECK(medium.tymed == TYMED_GDI);
    CHECK(medium.hBitmap == nullptr);
}

TEST_CASE("An enhanced metafile is duplicated") {
    const auto object = newDataObject();
    const HDC device = CreateEnhMetaFileW(nullptr, nullptr, nullptr, nullptr);
    Rectangle(device, 0, 0, 10, 10);
    const HENHMETAFILE metafile = CloseEnhMetaFile(device);
    REQUIRE(set(*object, formatOf(CF_ENHMETAFILE, TYMED_ENHMF), mediumOf(TYMED_ENHMF, metafile),
                TRUE) == S_OK);
    FORMATETC format = formatOf(CF_ENHMETAFILE, TYMED_ENHMF);
    ReceivedMedium medium;

    REQUIRE(object->GetData(&format, &medium) == S_OK);

    CHECK(medium.hEnhMetaFile != metafile);
    CHECK(GetEnhMetaFileBits(medium.hEnhMetaFile, 0, nullptr) ==
          GetEnhMetaFileBits(metafile, 0, nullptr));
}

// Wine's OleDuplicateData takes the handle of a metafile where Windows takes that of the block
// which describes the picture.
TEST_CASE("A metafile picture is duplicated with its metafile" * doctest::skip(underWine())) {
    const auto object = newDataObject();
    const HDC device = CreateMetaFileW(nullptr);
    Rectangle(device, 0, 0, 10, 10);
    METAFILEPICT picture{MM_ANISOTROPIC, 100, 50, CloseMetaFile(device)};
    const HGLOBAL block = newBlock({reinterpret_cast<const char*>(&picture), sizeof picture});
    REQUIRE(set(*object, formatOf(CF_METAFILEPICT, TYMED_MFPICT), mediumOf(TYMED_MFPICT, block),
                TRUE) == S_OK);
    FORMATETC format = formatOf(CF_METAFILEPICT, TYMED_MFPICT);
    ReceivedMedium medium;

    REQUIRE(object->GetData(&format, &medium) == S_OK);

    REQUIRE(medium.hMetaFilePict != nullptr);
    METAFILEPICT copy{};
    std::memcpy(&copy, bytesOf(medium.hMetaFilePict).data(), sizeof copy);
    CHECK(copy.xExt == 100);
    CHECK(copy.hMF != picture.hMF);
    CHECK(GetMetaFileBitsEx(copy.hMF, 0, nullptr) == GetMetaFileBitsEx(picture.hMF, 0, nullptr));
}

TEST_CASE("A medium of an unknown storage type is handed out without a handle") {
    constexpr DWORD kUnknownType = 128;
    const auto object = newDataObject();
    int handle = 0;
    REQUIRE(set(*object, formatOf(kPrivateFormat, kUnknownType), mediumOf(kUnknownType, &handle),
                TRUE) == S_OK);
    FORMATETC format = formatOf(kPrivateFormat, kUnknownType);
    STGMEDIUM medium{};

    CHECK(object->GetData(&format, &medium) == S_OK);

    CHECK(medium.tymed == kUnknownType);
    CHECK(medium.hGlobal == nullptr);
}

TEST_CASE("A block of no bytes is stored and handed out without a handle") {
    const auto object = newDataObject();
    const HGLOBAL block = newBlock("");
    REQUIRE(set(*object, formatOf(kPrivateFormat, TYMED_HGLOBAL), mediumOf(TYMED_HGLOBAL, block),
                TRUE) == S_OK);
    FORMATETC format = formatOf(kPrivateFormat, TYMED_HGLOBAL);
    ReceivedMedium medium;

    CHECK(object->GetData(&format, &medium) == S_OK);

    CHECK(medium.tymed == TYMED_HGLOBAL);
    CHECK(medium.hGlobal == nullptr);
}

// --- Exhausted memory

HGLOBAL WINAPI refuseToDuplicate(HANDLE, CLIPFORMAT, UINT) { return nullptr; }

TEST_CASE("GetData answers E_OUTOFMEMORY for a block that cannot be duplicated") {
    const auto object = newDataObject();
    storeBlock(*object, kPrivateFormat, "abc");
    FORMATETC format = formatOf(kPrivateFormat, TYMED_HGLOBAL);
    STGMEDIUM medium{};

    const ReplacedImport noDuplication("OleDuplicateData", &refuseToDuplicate);
    CHECK(object->GetData(&format, &medium) == E_OUTOFMEMORY);

    CHECK(medium.tymed == TYMED_NULL);
}

TEST_CASE("GetData hands out no handle where a block that stands for a GDI object is none") {
    const CLIPFORMAT formats[] = {CF_BITMAP, CF_PALETTE, CF_METAFILEPICT, CF_ENHMETAFILE};
    for (const CLIPFORMAT cf : formats) {
        CAPTURE(cf);
        const auto object = newDataObject();
        storeBlock(*object, cf, "abc");
        FORMATETC format = formatOf(cf, TYMED_HGLOBAL);
        STGMEDIUM medium{};

        const ReplacedImport noDuplication("OleDuplicateData", &refuseToDuplicate);
        CHECK(object->GetData(&format, &medium) == S_OK);

        CHECK(medium.tymed == TYMED_HGLOBAL);
        CHECK(medium.hGlobal == nullptr);
    }
}

TEST_CASE("SetData without release keeps what was stored when it cannot duplicate") {
    const auto object = newDataObject();
    storeBlock(*object, kPrivateFormat, "old");
    const HGLOBAL block = newBlock("new");
    {
        const ReplacedImport noDuplication("OleDuplicateData", &refuseToDuplicate);
        CHECK(set(*object, formatOf(kPrivateFormat, TYMED_HGLOBAL), mediumOf(TYMED_HGLOBAL, block),
                  FALSE) == E_OUTOFMEMORY);
    }
    CHECK(blockOf(*object, kPrivateFormat) == "old");
    CHECK(GlobalFree(block) == nullptr);
}

TEST_CASE("SetData that runs out of memory changes nothing and takes nothing") {
    for (const BOOL release : {TRUE, FALSE}) {
        CAPTURE(release);
        bool failed = true;
        for (long n = 1; failed; ++n) {
            CAPTURE(n);
            const auto object = newDataObject();
            storeBlock(*object, CF_TEXT, "abc");
            CountingStream stream;
            stream.AddRef();
            HRESULT hr = E_FAIL;

            failNth(n);
            try {
                hr = set(*object, formatOf(kPrivateFormat, TYMED_ISTREAM),
                         mediumOf(TYMED_ISTREAM, &stream), release);
            } catch (const std::bad_alloc&) {
                hr = E_OUTOFMEMORY;
            }
            failed = failureFired();
            failNth(0);

            CHECK(hr == (failed ? E_OUTOFMEMORY : S_OK));
            if (failed) CHECK(stream.references() == 1);
            CHECK(formatsOf(*object).size() == (failed ? 1 : 2));
        }
    }
}

TEST_CASE("EnumFormatEtc and Clone answer E_OUTOFMEMORY when memory runs out") {
    const auto object = newDataObject();
    storeBlock(*object, CF_TEXT, "abc");
    ATL::CComPtr<IEnumFORMATETC> original;
    REQUIRE(object->EnumFormatEtc(DATADIR_GET, &original) == S_OK);
    bool failed = true;
    for (long n = 1; failed; ++n) {
        CAPTURE(n);
        ATL::CComPtr<IEnumFORMATETC> enumerator;
        failNth(n);
        const HRESULT hr = object->EnumFormatEtc(DATADIR_GET, &enumerator);
        failed = failureFired();
        CHECK(hr == (failed ? E_OUTOFMEMORY : S_OK));
        CHECK((enumerator == nullptr) == failed);

        ATL::CComPtr<IEnumFORMATETC> clone;
        failNth(n);
        CHECK(original->Clone(&clone) == (failed ? E_OUTOFMEMORY : S_OK));
        failNth(0);
        CHECK((clone == nullptr) == failed);
    }
}

// --- Enumeration

TEST_CASE("EnumFormatEtc lists formats to get and none to set") {
    const auto object = newDataObject();
    ATL::CComPtr<IEnumFORMATETC> enumerator;

    CHECK(object->EnumFormatEtc(DATADIR_SET, &enumerator) == E_NOTIMPL);
    CHECK(object->EnumFormatEtc(DATADIR_GET | DATADIR_SET, &enumerator) == E_NOTIMPL);
    CHECK(object->EnumFormatEtc(0, &enumerator) == E_NOTIMPL);

    CHECK(enumerator == nullptr);
}

TEST_CASE("EnumFormatEtc refuses a null output") {
    CHECK(newDataObject()->EnumFormatEtc(DATADIR_GET, nullptr) == E_INVALIDARG);
}

TEST_CASE("EnumFormatEtc hands out one reference") {
    const auto object = newDataObject();
    IEnumFORMATETC* enumerator = nullptr;

    REQUIRE(object->EnumFormatEtc(DATADIR_GET, &enumerator) == S_OK);

    CHECK(enumerator->Release() == 0);
}

// --- Sinks

TEST_CASE("DUnadvise and EnumDAdvise fail before the first DAdvise") {
    const auto object = newDataObject();
    ATL::CComPtr<IEnumSTATDATA> connections;

    CHECK(object->DUnadvise(1) == E_FAIL);
    CHECK(object->EnumDAdvise(&connections) == E_FAIL);
}

TEST_CASE("DAdvise refuses a format that is not there") {
    const auto object = newDataObject();
    CountingSink sink;
    FORMATETC format = formatOf(CF_TEXT, TYMED_HGLOBAL);
    DWORD connection = 0;

    CHECK(object->DAdvise(&format, 0, &sink, &connection) == DV_E_FORMATETC);
    CHECK(object->DAdvise(nullptr, 0, &sink, &connection) == DV_E_FORMATETC);

    CHECK(sink.references() == 0);
    CHECK(object->DUnadvise(1) == E_FAIL);
}

TEST_CASE("What DAdvise makes of a null sink is the advise holder's to say") {
    const auto object = newDataObject();
    storeBlock(*object, CF_TEXT, "abc");
    FORMATETC format = formatOf(CF_TEXT, TYMED_HGLOBAL);
    DWORD connection = 0;
    ATL::CComPtr<IDataAdviseHolder> holder;
    REQUIRE(::CreateDataAdviseHolder(&holder) == S_OK);
    const HRESULT answer = holder->Advise(object, &format, ADVF_NODATA, nullptr, &connection);

    CHECK(object->DAdvise(&format, ADVF_NODATA, nullptr, &connection) == answer);

    CHECK(object->DUnadvise(77) == OLE_E_NOCONNECTION);  // the object has a holder now
}

TEST_CASE("A sink stays connected from DAdvise to DUnadvise") {
    const auto object = newDataObject();
    storeBlock(*object, CF_TEXT, "abc");
    CountingSink sink;
    FORMATETC format = formatOf(CF_TEXT, TYMED_HGLOBAL);
    DWORD connection = 0;

    REQUIRE(object->DAdvise(&format, ADVF_NODATA, &sink, &connection) == S_OK);
    CHECK(connection != 0);
    CHECK(sink.references() == 1);
    {
        ATL::CComPtr<IEnumSTATDATA> connections;
        STATDATA listed{};
        CHECK(object->EnumDAdvise(&connections) == S_OK);
        CHECK(connections->Next(1, &listed, nullptr) == S_OK);
        CHECK(listed.dwConnection == connection);
        CHECK(listed.formatetc.cfFormat == CF_TEXT);
        if (listed.pAdvSink) listed.pAdvSink->Release();
    }
    CHECK(object->DUnadvise(connection) == S_OK);

    CHECK(sink.references() == 0);
    CHECK(object->DUnadvise(connection) == OLE_E_NOCONNECTION);
}

TEST_CASE("Two sinks are connected and disconnected apart from each other") {
    const auto object = newDataObject();
    storeBlock(*object, CF_TEXT, "abc");
    CountingSink first, second;
    FORMATETC format = formatOf(CF_TEXT, TYMED_HGLOBAL);
    DWORD firstConnection = 0, secondConnection = 0;
    REQUIRE(object->DAdvise(&format, ADVF_NODATA, &first, &firstConnection) == S_OK);
    REQUIRE(object->DAdvise(&format, ADVF_NODATA, &second, &secondConnection) == S_OK);

    CHECK(object->DUnadvise(firstConnection) == S_OK);

    CHECK(first.references() == 0);
    CHECK(second.references() == 1);
    CHECK(object->DUnadvise(secondConnection) == S_OK);
}

TEST_CASE("A data object that dies lets its sinks go") {
    CountingSink sink;
    {
        const auto object = newDataObject();
        storeBlock(*object, CF_TEXT, "abc");
        FORMATETC format = formatOf(CF_TEXT, TYMED_HGLOBAL);
        DWORD connection = 0;
        REQUIRE(object->DAdvise(&format, ADVF_NODATA, &sink, &connection) == S_OK);
        CHECK(sink.references() == 1);
    }
    CHECK(sink.references() == 0);
}

// --- Entries by themselves

TEST_CASE("An entry tells what is amiss with a request in a fixed order") {
    struct {
        const char* label;
        DWORD storedAspect;
        FORMATETC requested;
        HRESULT expected;
    } const rows[] = {
        {"everything", DVASPECT_ICON, {CF_DIB, nullptr, 1, 0, TYMED_GDI}, DV_E_CLIPFORMAT},
        {"all but the format", DVASPECT_ICON, {CF_TEXT, nullptr, 1, 0, TYMED_GDI}, DV_E_LINDEX},
        {"aspect and type", DVASPECT_ICON, {CF_TEXT, nullptr, 1, -1, TYMED_GDI}, DV_E_DVASPECT},
        {"the type", DVASPECT_CONTENT, {CF_TEXT, nullptr, 1, -1, TYMED_GDI}, DV_E_TYMED},
        {"nothing", DVASPECT_CONTENT, {CF_TEXT, nullptr, 4, -1, TYMED_HGLOBAL}, S_OK},
    };
    for (const auto& row : rows) {
        CAPTURE(row.label);
        ATL::CComPtr<CDataObjectEntry> entry;
        REQUIRE(CDataObjectEntry::CreateInstance(formatOf(CF_TEXT, TYMED_HGLOBAL, row.storedAspect),
                                                 mediumOf(TYMED_HGLOBAL, newBlock("abc")), true,
                                                 &entry) == S_OK);
        CHECK(entry->matches(row.requested) == row.expected);
    }
}

TEST_CASE("An entry answers IUnknown alone") {
    ATL::CComPtr<CDataObjectEntry> entry;
    REQUIRE(CDataObjectEntry::CreateInstance(formatOf(CF_TEXT, TYMED_HGLOBAL),
                                             mediumOf(TYMED_HGLOBAL, newBlock("abc")), true,
                                             &entry) == S_OK);
    ATL::CComPtr<IUnknown> unknown;
    void* other = &unknown;

    CHECK(entry->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&unknown)) == S_OK);
    CHECK(entry->QueryInterface(IID_IDataObject, &other) == E_NOINTERFACE);
    CHECK(entry->QueryInterface(IID_IUnknown, nullptr) == E_INVALIDARG);

    CHECK(static_cast<void*>(unknown.p) == static_cast<void*>(entry.p));
    CHECK(other == nullptr);
}

TEST_CASE("An entry starts with one reference and frees its medium with the last") {
    CountingStream stream;
    stream.AddRef();
    CDataObjectEntry* entry = nullptr;
    REQUIRE(CDataObjectEntry::CreateInstance(formatOf(CF_TEXT, TYMED_ISTREAM),
                                             mediumOf(TYMED_ISTREAM, &stream), true,
                                             &entry) == S_OK);

    CHECK(entry->AddRef() == 2);
    CHECK(entry->Release() == 1);
    CHECK(stream.references() == 1);
    CHECK(entry->Release() == 0);

    CHECK(stream.references() == 0);
}

TEST_CASE("An entry cannot be made without a place to put it") {
    CountingStream stream;
    stream.AddRef();

    CHECK(CDataObjectEntry::CreateInstance(formatOf(CF_TEXT, TYMED_ISTREAM),
                                           mediumOf(TYMED_ISTREAM, &stream), true,
                                           nullptr) == E_POINTER);

    CHECK(stream.references() == 1);
}

}  // namespace
