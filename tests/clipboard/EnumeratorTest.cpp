#include <doctest/doctest.h>

#include <cstring>
#include <memory>

#include "clipboard/CEnumFORMATETC.h"
#include "tests/support/AllocationSpy.h"
#include "tests/support/DataObjects.h"
#include "tests/support/ReplacedImport.h"
#include "tests/support/Threads.h"

namespace {

using namespace testsupport;

// Returns a data object that contains a block in each of the formats.
ATL::CComPtr<IDataObject> objectWith(std::initializer_list<CLIPFORMAT> formats) {
    auto object = newDataObject();
    for (const CLIPFORMAT cf : formats) REQUIRE(setBlock(*object, cf, "abc") == S_OK);
    return object;
}

ATL::CComPtr<IEnumFORMATETC> enumeratorOf(IDataObject& object) {
    ATL::CComPtr<IEnumFORMATETC> enumerator;
    REQUIRE(object.EnumFormatEtc(DATADIR_GET, &enumerator) == S_OK);
    return enumerator;
}

// Returns the clipboard format of the next element, or 0 at the end.
CLIPFORMAT next(IEnumFORMATETC& enumerator) {
    FORMATETC format{};
    const HRESULT hr = enumerator.Next(1, &format, nullptr);
    CoTaskMemFree(format.ptd);
    return hr == S_OK ? format.cfFormat : CLIPFORMAT{0};
}

// A target device with more than 16 bytes. An enumerator copies only the first 16 bytes.
struct Device {
    DVTARGETDEVICE head;
    BYTE tail[48];
};

Device newDevice() {
    Device device;
    auto* const bytes = reinterpret_cast<BYTE*>(&device);
    for (unsigned i = 0; i < sizeof device; ++i) bytes[i] = static_cast<BYTE>(i + 1);
    return device;
}

// Returns a data object with one format, which refers to `device`. `device` must outlive the
// object.
ATL::CComPtr<IDataObject> objectFor(Device& device) {
    auto object = newDataObject();
    FORMATETC format = formatOf(CF_TEXT, TYMED_HGLOBAL);
    format.ptd = &device.head;
    STGMEDIUM medium = mediumOf(TYMED_HGLOBAL, newBlock("abc"));
    REQUIRE(object->SetData(&format, &medium, TRUE) == S_OK);
    return object;
}

TEST_CASE("An enumerator lists the formats in the order in which they were set") {
    const auto object = objectWith({CF_DIB, CF_TEXT, kPrivateFormat});
    const auto enumerator = enumeratorOf(*object);

    CHECK(next(*enumerator) == CF_DIB);
    CHECK(next(*enumerator) == CF_TEXT);
    CHECK(next(*enumerator) == kPrivateFormat);
    CHECK(next(*enumerator) == 0);
}

TEST_CASE("An enumerator returns all members of a FORMATETC") {
    const auto object = newDataObject();
    FORMATETC format{CF_TEXT, nullptr, DVASPECT_ICON | DVASPECT_CONTENT, -1, TYMED_HGLOBAL};
    STGMEDIUM medium = mediumOf(TYMED_HGLOBAL, newBlock("abc"));
    REQUIRE(object->SetData(&format, &medium, TRUE) == S_OK);
    FORMATETC listed{};

    REQUIRE(enumeratorOf(*object)->Next(1, &listed, nullptr) == S_OK);

    CHECK(listed.cfFormat == CF_TEXT);
    CHECK(listed.ptd == nullptr);
    CHECK(listed.dwAspect == (DVASPECT_ICON | DVASPECT_CONTENT));
    CHECK(listed.lindex == -1);
    CHECK(listed.tymed == TYMED_HGLOBAL);
}

TEST_CASE("An enumerator of an empty data object returns no elements") {
    const auto object = newDataObject();
    const auto enumerator = enumeratorOf(*object);
    FORMATETC format{};
    ULONG fetched = 7;

    CHECK(enumerator->Next(1, &format, &fetched) == S_FALSE);

    CHECK(fetched == 0);
}

TEST_CASE("An enumerator does not change with the data object and outlives it") {
    auto object = objectWith({CF_TEXT});
    const auto enumerator = enumeratorOf(*object);

    REQUIRE(setBlock(*object, CF_DIB, "abc") == S_OK);
    object.Release();

    CHECK(next(*enumerator) == CF_TEXT);
    CHECK(next(*enumerator) == 0);
}

TEST_CASE("Next rejects a null array") {
    const auto object = objectWith({CF_TEXT});
    const auto enumerator = enumeratorOf(*object);
    ULONG fetched = 7;

    CHECK(enumerator->Next(1, nullptr, &fetched) == E_INVALIDARG);
    CHECK(enumerator->Next(0, nullptr, nullptr) == E_INVALIDARG);

    CHECK(next(*enumerator) == CF_TEXT);
}

TEST_CASE("Next with a count of 0 copies nothing") {
    const auto object = objectWith({CF_TEXT});
    const auto enumerator = enumeratorOf(*object);
    FORMATETC format{};
    ULONG fetched = 7;

    CHECK(enumerator->Next(0, &format, &fetched) == S_OK);

    CHECK(fetched == 0);
    CHECK(format.cfFormat == 0);
    CHECK(next(*enumerator) == CF_TEXT);
}

TEST_CASE("Next returns several elements if pceltFetched is null") {
    const auto object = objectWith({CF_DIB, CF_TEXT});
    const auto enumerator = enumeratorOf(*object);
    FORMATETC formats[2] = {};

    CHECK(enumerator->Next(2, formats, nullptr) == S_OK);

    CHECK(formats[0].cfFormat == CF_DIB);
    CHECK(formats[1].cfFormat == CF_TEXT);
}

TEST_CASE("Next returns the remaining elements if more are requested") {
    const auto object = objectWith({CF_DIB, CF_TEXT, CF_OEMTEXT});
    const auto enumerator = enumeratorOf(*object);
    REQUIRE(next(*enumerator) == CF_DIB);
    FORMATETC formats[4] = {};
    formats[2].cfFormat = 99;
    ULONG fetched = 7;

    CHECK(enumerator->Next(4, formats, &fetched) == S_FALSE);

    CHECK(fetched == 2);
    CHECK(formats[0].cfFormat == CF_TEXT);
    CHECK(formats[1].cfFormat == CF_OEMTEXT);
    CHECK(formats[2].cfFormat == 99);
}

TEST_CASE("Next with the maximum count stays within the list") {
    const auto object = objectWith({CF_TEXT});
    const auto enumerator = enumeratorOf(*object);
    FORMATETC formats[2] = {};
    ULONG fetched = 7;

    CHECK(enumerator->Next(0xFFFFFFFF, formats, &fetched) == S_FALSE);

    CHECK(fetched == 1);
}

TEST_CASE("Skip moves past elements") {
    const auto object = objectWith({CF_DIB, CF_TEXT, CF_OEMTEXT});
    const auto enumerator = enumeratorOf(*object);

    CHECK(enumerator->Skip(0) == S_OK);
    CHECK(enumerator->Skip(2) == S_OK);

    CHECK(next(*enumerator) == CF_OEMTEXT);
}

TEST_CASE("Skip to the end succeeds") {
    const auto object = objectWith({CF_DIB, CF_TEXT});
    const auto enumerator = enumeratorOf(*object);

    CHECK(enumerator->Skip(2) == S_OK);

    CHECK(next(*enumerator) == 0);
    CHECK(enumerator->Skip(0) == S_OK);
    CHECK(enumerator->Skip(1) == S_FALSE);
}

TEST_CASE("Skip past the end stops at the end") {
    const auto object = objectWith({CF_DIB, CF_TEXT});
    const auto enumerator = enumeratorOf(*object);

    CHECK(enumerator->Skip(3) == S_FALSE);
    CHECK(enumerator->Skip(0xFFFFFFFF) == S_FALSE);

    CHECK(next(*enumerator) == 0);
}

TEST_CASE("Reset returns to the first element") {
    const auto object = objectWith({CF_DIB, CF_TEXT});
    const auto enumerator = enumeratorOf(*object);
    REQUIRE(enumerator->Skip(3) == S_FALSE);

    CHECK(enumerator->Reset() == S_OK);

    CHECK(next(*enumerator) == CF_DIB);
}

TEST_CASE("Clone has the same position and moves independently") {
    const auto object = objectWith({CF_DIB, CF_TEXT, CF_OEMTEXT});
    auto enumerator = enumeratorOf(*object);
    REQUIRE(next(*enumerator) == CF_DIB);
    ATL::CComPtr<IEnumFORMATETC> clone;

    CHECK(enumerator->Clone(&clone) == S_OK);

    CHECK(next(*clone) == CF_TEXT);
    CHECK(next(*enumerator) == CF_TEXT);
    enumerator.Release();
    CHECK(next(*clone) == CF_OEMTEXT);
    CHECK(clone->Reset() == S_OK);
    CHECK(next(*clone) == CF_DIB);
}

TEST_CASE("Clone returns one reference") {
    const auto object = objectWith({CF_DIB});
    IEnumFORMATETC* clone = nullptr;

    REQUIRE(enumeratorOf(*object)->Clone(&clone) == S_OK);

    CHECK(clone->Release() == 0);
}

TEST_CASE("Clone rejects a null output pointer") {
    CHECK(enumeratorOf(*newDataObject())->Clone(nullptr) == E_INVALIDARG);
}

TEST_CASE("QueryInterface of an enumerator supports only IUnknown and IEnumFORMATETC") {
    const auto enumerator = enumeratorOf(*newDataObject());
    ATL::CComPtr<IUnknown> unknown;
    ATL::CComPtr<IEnumFORMATETC> same;
    void* other = &unknown;

    CHECK(enumerator->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&unknown)) == S_OK);
    CHECK(enumerator->QueryInterface(IID_IEnumFORMATETC, reinterpret_cast<void**>(&same)) == S_OK);
    CHECK(enumerator->QueryInterface(IID_IDataObject, &other) == E_NOINTERFACE);
    CHECK(enumerator->QueryInterface(IID_IUnknown, nullptr) == E_INVALIDARG);

    CHECK(static_cast<void*>(unknown.p) == static_cast<void*>(enumerator.p));
    CHECK(same.p == enumerator.p);
    CHECK(other == nullptr);
}

TEST_CASE("References to an enumerator can be added and released on many threads") {
    const auto enumerator = enumeratorOf(*newDataObject());

    onThreads(8, [&enumerator] {
        for (int i = 0; i < 20000; ++i) {
            enumerator.p->AddRef();
            enumerator.p->Release();
        }
    });

    CHECK(enumerator.p->AddRef() == 2);
    enumerator.p->Release();
}

TEST_CASE("Next copies the first 16 bytes of a target device to memory from CoTaskMemAlloc") {
    Device device = newDevice();
    const auto object = objectFor(device);
    FORMATETC format{};

    REQUIRE(enumeratorOf(*object)->Next(1, &format, nullptr) == S_OK);

    REQUIRE(format.ptd != nullptr);
    CHECK(format.ptd != &device.head);
    CHECK(std::memcmp(format.ptd, &device, 16) == 0);
    ATL::CComPtr<IMalloc> taskMemory;
    REQUIRE(CoGetMalloc(1, &taskMemory) == S_OK);
    CHECK(taskMemory->GetSize(format.ptd) == 16);
    CoTaskMemFree(format.ptd);
}

TEST_CASE("Every returned element has its own target device") {
    Device device = newDevice();
    const auto object = objectFor(device);
    const auto enumerator = enumeratorOf(*object);
    ATL::CComPtr<IEnumFORMATETC> clone;
    REQUIRE(enumerator->Clone(&clone) == S_OK);
    FORMATETC first{}, again{}, cloned{};

    REQUIRE(enumerator->Next(1, &first, nullptr) == S_OK);
    REQUIRE(enumerator->Reset() == S_OK);
    REQUIRE(enumerator->Next(1, &again, nullptr) == S_OK);
    REQUIRE(clone->Next(1, &cloned, nullptr) == S_OK);

    CHECK(first.ptd != again.ptd);
    CHECK(first.ptd != cloned.ptd);
    CHECK(again.ptd != cloned.ptd);
    CHECK(std::memcmp(cloned.ptd, &device, 16) == 0);
    for (DVTARGETDEVICE* copy : {first.ptd, again.ptd, cloned.ptd}) CoTaskMemFree(copy);
}

TEST_CASE("An enumerator keeps its target devices after the caller frees its DVTARGETDEVICE") {
    auto device = std::make_unique<Device>(newDevice());
    auto object = objectFor(*device);
    const auto enumerator = enumeratorOf(*object);
    FORMATETC format{};

    object.Release();
    device.reset();

    REQUIRE(enumerator->Next(1, &format, nullptr) == S_OK);
    const Device expected = newDevice();
    CHECK(std::memcmp(format.ptd, &expected, 16) == 0);
    CoTaskMemFree(format.ptd);
}

TEST_CASE("An enumerator does not free its own copies of target devices") {
    Device device = newDevice();
    const auto object = objectFor(device);

    static void* copy;
    static bool isFreed;
    copy = nullptr;
    isFreed = false;
    const ReplacedImport<decltype(::CoTaskMemAlloc)> allocation(
        "CoTaskMemAlloc", +[](SIZE_T bytes) { return copy = ::CoTaskMemAlloc(bytes); });
    const ReplacedImport<decltype(::CoTaskMemFree)> freeing(
        "CoTaskMemFree", +[](void* block) {
            if (block == copy) isFreed = true;
            ::CoTaskMemFree(block);
        });

    enumeratorOf(*object);

    REQUIRE(copy != nullptr);
    CHECK_FALSE(isFreed);
    if (!isFreed) ::CoTaskMemFree(copy);
}

TEST_CASE("EnumFormatEtc and Clone fail if memory for target devices runs out") {
    Device device = newDevice();
    const auto object = objectFor(device);
    const auto enumerator = enumeratorOf(*object);
    ATL::CComPtr<IEnumFORMATETC> created;
    const ReplacedImport<decltype(::CoTaskMemAlloc)> noMemory(
        "CoTaskMemAlloc", +[](SIZE_T) -> void* { return nullptr; });

    CHECK(blocksLeftBy([&] {
              CHECK(object->EnumFormatEtc(DATADIR_GET, &created) == E_OUTOFMEMORY);
              CHECK(enumerator->Clone(&created) == E_OUTOFMEMORY);
          }) == 0);

    CHECK_FALSE(created);
}

TEST_CASE("Next returns nothing and keeps its position if memory for target devices runs out") {
    Device device = newDevice();
    const auto object = objectFor(device);
    FORMATETC second = formatOf(CF_DIB, TYMED_HGLOBAL);
    second.ptd = &device.head;
    STGMEDIUM medium = mediumOf(TYMED_HGLOBAL, newBlock("abc"));
    REQUIRE(object->SetData(&second, &medium, TRUE) == S_OK);
    const auto enumerator = enumeratorOf(*object);
    FORMATETC formats[2] = {};
    ULONG fetched = 7;

    for (const long n : {1, 2}) {
        CAPTURE(n);
        CHECK(blocksLeftBy([&] {
                  failNth(n);
                  CHECK(enumerator->Next(2, formats, &fetched) == E_OUTOFMEMORY);
                  failNth(0);
              }) == 0);
        CHECK(fetched == 0);
        CHECK(formats[0].ptd == nullptr);
        CHECK(formats[1].ptd == nullptr);
    }

    CHECK(next(*enumerator) == CF_TEXT);
}

TEST_CASE("CEnumFORMATETC cannot be created without an output pointer") {
    const auto object = newDataObject();

    CHECK(CEnumFORMATETC::CreateInstance(static_cast<const CDataObject&>(*object), nullptr) ==
          E_INVALIDARG);
}

}  // namespace
