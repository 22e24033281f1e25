#include <doctest/doctest.h>

#include <cstring>
#include <utility>
#include <vector>

#include "clipboard/CDataObject.h"
#include "tests/clipboard/StoredBlocks.h"
#include "tests/support/AllocationSpy.h"
#include "tests/support/Counting.h"
#include "tests/support/DataObjects.h"
#include "tests/support/Threads.h"

namespace {

using namespace testsupport;
using Formats = std::vector<std::pair<int, int>>;

HRESULT query(IDataObject& object, FORMATETC format) { return object.QueryGetData(&format); }

// --- Creation, references, interfaces

TEST_CASE("CreateInstance returns one reference") {
    IDataObject* object = nullptr;

    CHECK(CDataObject::CreateInstance(&object) == S_OK);

    REQUIRE(object);
    CHECK(object->AddRef() == 2);
    CHECK(object->Release() == 1);
    CHECK(object->Release() == 0);
}

TEST_CASE("CreateInstance rejects a null argument") {
    CHECK(CDataObject::CreateInstance(nullptr) == E_POINTER);
}

TEST_CASE("CreateInstance returns E_FAIL when memory runs out") {
    IDataObject* const garbage = reinterpret_cast<IDataObject*>(1);
    IDataObject* object = garbage;

    failNth(1);
    const HRESULT hr = CDataObject::CreateInstance(&object);
    failNth(0);

    CHECK(hr == E_FAIL);
    CHECK(object == nullptr);
}

TEST_CASE("QueryInterface of a data object returns the same pointer for IUnknown and IDataObject") {
    const auto object = newDataObject();
    ATL::CComPtr<IUnknown> unknown;
    ATL::CComPtr<IDataObject> dataObject;

    CHECK(object->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&unknown)) == S_OK);
    CHECK(object->QueryInterface(IID_IDataObject, reinterpret_cast<void**>(&dataObject)) == S_OK);

    CHECK(static_cast<void*>(unknown.p) == static_cast<void*>(object.p));
    CHECK(dataObject.p == object.p);
    CHECK(object.p->AddRef() == 4);
    object.p->Release();
}

TEST_CASE("QueryInterface of a data object clears the pointer for other interfaces") {
    const auto object = newDataObject();
    void* other = object.p;

    CHECK(object->QueryInterface(IID_IPersist, &other) == E_NOINTERFACE);

    CHECK(other == nullptr);
}

TEST_CASE("QueryInterface of a data object rejects a null pointer") {
    CHECK(newDataObject()->QueryInterface(IID_IUnknown, nullptr) == E_INVALIDARG);
}

TEST_CASE("References to a data object can be added and released on many threads") {
    const auto object = newDataObject();

    onThreads(8, [&object] {
        for (int i = 0; i < 20000; ++i) {
            object.p->AddRef();
            object.p->Release();
        }
    });

    CHECK(object.p->AddRef() == 2);
    object.p->Release();
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

// --- Results of GetData and QueryGetData

TEST_CASE("GetData and QueryGetData reject a null format") {
    const auto object = newDataObject();
    STGMEDIUM medium{};

    CHECK(object->GetData(nullptr, &medium) == DV_E_FORMATETC);
    CHECK(object->GetData(nullptr, nullptr) == DV_E_FORMATETC);
    CHECK(object->QueryGetData(nullptr) == DV_E_FORMATETC);
}

TEST_CASE("GetData rejects a null medium") {
    const auto object = newDataObject();
    FORMATETC format = formatOf(CF_TEXT, TYMED_HGLOBAL);

    CHECK(object->GetData(&format, nullptr) == E_INVALIDARG);
}

TEST_CASE("GetData empties the medium on failure") {
    const auto object = newDataObject();
    FORMATETC format = formatOf(CF_TEXT, TYMED_HGLOBAL);
    int garbage = 0;
    STGMEDIUM medium = mediumOf(TYMED_HGLOBAL, &garbage, reinterpret_cast<IUnknown*>(&garbage));

    CHECK(object->GetData(&format, &medium) == DV_E_CLIPFORMAT);

    CHECK(medium.tymed == TYMED_NULL);
    CHECK(medium.hGlobal == nullptr);
    CHECK(medium.pUnkForRelease == nullptr);
}

TEST_CASE("A request is rejected for its index first and then for its target device") {
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

TEST_CASE("QueryGetData of an empty data object returns DV_E_CLIPFORMAT") {
    CHECK(query(*newDataObject(), formatOf(CF_TEXT, TYMED_HGLOBAL)) == DV_E_CLIPFORMAT);
}

TEST_CASE("A request that differs in one member fails like a request for a format never stored") {
    const auto object = newDataObject();
    REQUIRE(setBlock(*object, CF_TEXT, "abc") == S_OK);
    FORMATETC format = formatOf(CF_TEXT, TYMED_ISTREAM);
    STGMEDIUM medium{};

    CHECK(object->GetData(&format, &medium) == DV_E_CLIPFORMAT);
    CHECK(query(*object, formatOf(CF_TEXT, TYMED_ISTREAM)) == DV_E_CLIPFORMAT);
    CHECK(query(*object, formatOf(CF_TEXT, TYMED_NULL)) == DV_E_CLIPFORMAT);
    CHECK(query(*object, formatOf(CF_OEMTEXT, TYMED_HGLOBAL)) == DV_E_CLIPFORMAT);
}

TEST_CASE("An entry that differs in one member does not hide a matching entry after it") {
    const auto object = newDataObject();
    REQUIRE(setBlock(*object, CF_TEXT, "abc") == S_OK);
    CountingStream stream;
    stream.AddRef();
    REQUIRE(setData(*object, formatOf(CF_TEXT, TYMED_ISTREAM), mediumOf(TYMED_ISTREAM, &stream),
                    TRUE) == S_OK);

    CHECK(query(*object, formatOf(CF_TEXT, TYMED_ISTREAM)) == S_OK);
}

TEST_CASE("One storage type in common is enough for a match") {
    const auto object = newDataObject();
    REQUIRE(setBlock(*object, CF_TEXT, "abc") == S_OK);
    FORMATETC format = formatOf(CF_TEXT, TYMED_ISTREAM | TYMED_HGLOBAL | TYMED_GDI);
    ReceivedMedium medium;

    CHECK(object->GetData(&format, &medium) == S_OK);

    CHECK(medium.tymed == TYMED_HGLOBAL);
    CHECK(bytesOf(medium.hGlobal) == "abc");
}

TEST_CASE("The first of several matching entries is returned") {
    const auto object = newDataObject();
    CountingStream stream;
    stream.AddRef();
    REQUIRE(setData(*object, formatOf(CF_TEXT, TYMED_ISTREAM), mediumOf(TYMED_ISTREAM, &stream),
                    TRUE) == S_OK);
    REQUIRE(setBlock(*object, CF_TEXT, "abc") == S_OK);
    FORMATETC format = formatOf(CF_TEXT, TYMED_HGLOBAL | TYMED_ISTREAM);
    ReceivedMedium medium;

    CHECK(object->GetData(&format, &medium) == S_OK);

    CHECK(medium.tymed == TYMED_ISTREAM);
    CHECK(medium.pstm == &stream);
}

TEST_CASE("A request for any aspect matches an entry with the content aspect") {
    const auto object = newDataObject();
    REQUIRE(setBlock(*object, CF_TEXT, "abc") == S_OK);

    for (const DWORD aspect : {0u, 1u, 2u, 4u, 8u, 0xFFFFFFFFu}) {
        CAPTURE(aspect);
        CHECK(query(*object, formatOf(CF_TEXT, TYMED_HGLOBAL, aspect)) == S_OK);
    }
}

TEST_CASE("An entry stored without the content aspect never matches") {
    const auto object = newDataObject();
    REQUIRE(setData(*object, formatOf(CF_TEXT, TYMED_HGLOBAL, DVASPECT_ICON),
                    mediumOf(TYMED_HGLOBAL, newBlock("abc")), TRUE) == S_OK);

    CHECK(query(*object, formatOf(CF_TEXT, TYMED_HGLOBAL, DVASPECT_ICON)) == DV_E_CLIPFORMAT);
    CHECK(query(*object, formatOf(CF_TEXT, TYMED_HGLOBAL)) == DV_E_CLIPFORMAT);
}

TEST_CASE("An entry whose aspects include content matches") {
    const auto object = newDataObject();
    REQUIRE(setData(*object, formatOf(CF_TEXT, TYMED_HGLOBAL, DVASPECT_CONTENT | DVASPECT_ICON),
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

TEST_CASE("GetCanonicalFormatEtc reports every format as canonical and writes nothing") {
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

TEST_CASE("GetCanonicalFormatEtc rejects a null output pointer") {
    FORMATETC in = formatOf(CF_TEXT, TYMED_HGLOBAL);

    CHECK(newDataObject()->GetCanonicalFormatEtc(&in, nullptr) == E_INVALIDARG);
}

// --- Entries stored by SetData

TEST_CASE("SetData rejects null arguments and a medium without a handle") {
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

TEST_CASE("SetData rejects an index other than -1 and does not take ownership of the block") {
    const auto object = newDataObject();
    const HGLOBAL block = newBlock("abc");
    FORMATETC format = formatOf(CF_TEXT, TYMED_HGLOBAL);
    format.lindex = 0;

    CHECK(setData(*object, format, mediumOf(TYMED_HGLOBAL, block), TRUE) == DV_E_LINDEX);

    CHECK(listOf(*object).empty());
    CHECK(GlobalFree(block) == nullptr);
}

TEST_CASE("SetData compares storage types exactly and does not take ownership of the block") {
    const auto object = newDataObject();
    const HGLOBAL block = newBlock("abc");

    CHECK(setData(*object, formatOf(CF_TEXT, TYMED_ISTREAM), mediumOf(TYMED_HGLOBAL, block),
                  TRUE) == DV_E_TYMED);
    CHECK(setData(*object, formatOf(CF_TEXT, TYMED_HGLOBAL | TYMED_ISTREAM),
                  mediumOf(TYMED_HGLOBAL, block), TRUE) == DV_E_TYMED);

    CHECK(listOf(*object).empty());
    CHECK(GlobalFree(block) == nullptr);
}

TEST_CASE("SetData checks the index before it compares storage types") {
    FORMATETC format = formatOf(CF_TEXT, TYMED_ISTREAM);
    format.lindex = 0;
    int handle = 0;

    CHECK(setData(*newDataObject(), format, mediumOf(TYMED_HGLOBAL, &handle), TRUE) == DV_E_LINDEX);
}

TEST_CASE("SetData replaces the entry of the same format and storage type at its position") {
    const auto object = newDataObject();
    storeBlock(*object, CF_TEXT, "one");
    storeBlock(*object, kPrivateFormat, "two");

    storeBlock(*object, CF_TEXT, "three");

    CHECK(listOf(*object) == Formats{{CF_TEXT, TYMED_HGLOBAL}, {kPrivateFormat, TYMED_HGLOBAL}});
    CHECK(blockOf(*object, CF_TEXT) == "three");
    CHECK(blockOf(*object, kPrivateFormat) == "two");
}

TEST_CASE("SetData frees the replaced medium immediately") {
    const auto object = newDataObject();
    CountingStream first, second;
    first.AddRef();
    second.AddRef();
    REQUIRE(setData(*object, formatOf(CF_TEXT, TYMED_ISTREAM), mediumOf(TYMED_ISTREAM, &first),
                    TRUE) == S_OK);

    REQUIRE(setData(*object, formatOf(CF_TEXT, TYMED_ISTREAM), mediumOf(TYMED_ISTREAM, &second),
                    TRUE) == S_OK);

    CHECK(first.references() == 0);
    CHECK(second.references() == 1);
}

TEST_CASE("SetData stores the format of the newer entry") {
    const auto object = newDataObject();
    storeBlock(*object, CF_TEXT, "one");

    REQUIRE(setData(*object, formatOf(CF_TEXT, TYMED_HGLOBAL, DVASPECT_ICON),
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

    REQUIRE(setData(*object, formatOf(CF_TEXT, TYMED_ISTREAM), mediumOf(TYMED_ISTREAM, &stream),
                    TRUE) == S_OK);

    CHECK(listOf(*object) == Formats{{CF_TEXT, TYMED_HGLOBAL}, {CF_TEXT, TYMED_ISTREAM}});
}

TEST_CASE("SetData appends every entry that cannot match a request") {
    const auto object = newDataObject();
    DVTARGETDEVICE device{};
    FORMATETC withDevice = formatOf(CF_TEXT, TYMED_HGLOBAL);
    withDevice.ptd = &device;
    storeBlock(*object, CF_TEXT, "plain");

    for (int i = 0; i < 2; ++i) {
        CHECK(setData(*object, withDevice, mediumOf(TYMED_HGLOBAL, newBlock("device")), TRUE) ==
              S_OK);
        CHECK(setData(*object, formatOf(CF_OEMTEXT, TYMED_HGLOBAL, DVASPECT_ICON),
                      mediumOf(TYMED_HGLOBAL, newBlock("icon")), TRUE) == S_OK);
    }

    CHECK(formatsOf(*object).size() == 5);
    CHECK(query(*object, withDevice) == DV_E_DVTARGETDEVICE);
    CHECK(blockOf(*object, CF_TEXT) == "plain");
}

TEST_CASE("A request without a target device matches an entry that has one") {
    const auto object = newDataObject();
    DVTARGETDEVICE device{};
    FORMATETC withDevice = formatOf(CF_TEXT, TYMED_HGLOBAL);
    withDevice.ptd = &device;
    REQUIRE(setData(*object, withDevice, mediumOf(TYMED_HGLOBAL, newBlock("device")), TRUE) ==
            S_OK);

    CHECK(blockOf(*object, CF_TEXT) == "device");
}

// --- Enumeration

TEST_CASE("EnumFormatEtc lists formats for DATADIR_GET only") {
    const auto object = newDataObject();
    ATL::CComPtr<IEnumFORMATETC> enumerator;

    CHECK(object->EnumFormatEtc(DATADIR_SET, &enumerator) == E_NOTIMPL);
    CHECK(object->EnumFormatEtc(DATADIR_GET | DATADIR_SET, &enumerator) == E_NOTIMPL);
    CHECK(object->EnumFormatEtc(0, &enumerator) == E_NOTIMPL);

    CHECK(enumerator == nullptr);
}

TEST_CASE("EnumFormatEtc rejects a null output pointer") {
    CHECK(newDataObject()->EnumFormatEtc(DATADIR_GET, nullptr) == E_INVALIDARG);
}

TEST_CASE("EnumFormatEtc returns one reference") {
    const auto object = newDataObject();
    IEnumFORMATETC* enumerator = nullptr;

    REQUIRE(object->EnumFormatEtc(DATADIR_GET, &enumerator) == S_OK);

    CHECK(enumerator->Release() == 0);
}

}  // namespace
