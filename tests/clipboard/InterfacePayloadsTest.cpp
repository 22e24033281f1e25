#include <doctest/doctest.h>

#include <cstring>
#include <utility>

#include "clipboard/CDataObject.h"
#include "tests/support/AllocationSpy.h"
#include "tests/support/Apartment.h"
#include "tests/support/Counting.h"
#include "tests/support/DataObjects.h"
#include "tests/support/FailingMemory.h"
#include "tests/support/ForeignDataObject.h"
#include "tests/support/OleApartment.h"
#include "tests/support/ReplacedImport.h"
#include "tests/support/Threads.h"

namespace {

using namespace testsupport;

// A data object that stores the arguments of the last SetData call.
class StoringObject : public ForeignDataObject {
public:
    StoringObject() {
        onSetData = [this](const FORMATETC& f, STGMEDIUM& m, bool r) {
            format = f;
            medium = m;
            released = r;
            return S_OK;
        };
    }
    ~StoringObject() override { ReleaseStgMedium(&medium); }

    FORMATETC format{};
    STGMEDIUM medium{};
    bool released = false;
};

DWORD cookieOf(const STGMEDIUM& medium) {
    DWORD cookie = 0;
    const std::string bytes = bytesOf(medium.hGlobal);
    if (bytes.size() >= sizeof cookie) std::memcpy(&cookie, bytes.data(), sizeof cookie);
    return cookie;
}

bool isRegistered(DWORD cookie) {
    ATL::CComPtr<IUnknown> unknown;
    return CDataObject::m_pIglobalInterfaceTable->GetInterfaceFromGlobal(
               cookie, IID_IUnknown, reinterpret_cast<void**>(&unknown)) == S_OK;
}

// Removes the library's global interface table until the end of the scope, as if the table had not
// been created yet.
class WithoutTable {
public:
    WithoutTable() : m_table(std::exchange(CDataObject::m_pIglobalInterfaceTable, nullptr)) {}
    ~WithoutTable() {
        if (CDataObject::m_pIglobalInterfaceTable) CDataObject::m_pIglobalInterfaceTable->Release();
        CDataObject::m_pIglobalInterfaceTable = m_table;
    }

private:
    IGlobalInterfaceTable* const m_table;
};

TEST_CASE("QueryIUnknownData before any SetIUnknownData fails") {
    const WithoutTable withoutTable;
    const auto object = newDataObject();
    REQUIRE(setBlock(*object, kPrivateFormat, "abcd") == S_OK);
    CountingUnknown garbage;
    IUnknown* received = &garbage;

    CHECK(CDataObject::QueryIUnknownData(*object, kPrivateFormat, &received) == E_FAIL);

    CHECK(received == nullptr);
}

TEST_CASE("QueryIUnknownData checks for a null output pointer first") {
    const WithoutTable withoutTable;

    CHECK(CDataObject::QueryIUnknownData(*newDataObject(), kPrivateFormat, nullptr) == E_POINTER);
}

TEST_CASE("SetIUnknownData creates the table on first use and keeps it") {
    const OleApartment ole;
    const WithoutTable withoutTable;
    CountingUnknown unknown;
    const auto object = newDataObject();

    REQUIRE(CDataObject::SetIUnknownData(*object, kPrivateFormat, unknown) == S_OK);
    auto* const table = CDataObject::m_pIglobalInterfaceTable;
    REQUIRE(CDataObject::SetIUnknownData(*object, kOtherFormat, unknown) == S_OK);

    CHECK(table != nullptr);
    CHECK(CDataObject::m_pIglobalInterfaceTable == table);
}

// A global interface table whose RegisterInterfaceInGlobal always succeeds and whose
// GetInterfaceFromGlobal always fails.
class OtherTable : public Counting<IGlobalInterfaceTable> {
public:
    STDMETHODIMP RegisterInterfaceInGlobal(IUnknown*, REFIID, DWORD* cookie) override {
        *cookie = 7;
        ++registrations;
        return S_OK;
    }
    STDMETHODIMP RevokeInterfaceFromGlobal(DWORD) override { return S_OK; }
    STDMETHODIMP GetInterfaceFromGlobal(DWORD, REFIID, void**) override { return E_NOTIMPL; }

    int registrations = 0;
};

OtherTable* g_tableOfOtherThread;

TEST_CASE("SetIUnknownData uses a table that another thread has created in the meantime") {
    const OleApartment ole;
    OtherTable table;
    table.AddRef();  // the library's reference
    const WithoutTable withoutTable;
    g_tableOfOtherThread = &table;
    CountingUnknown unknown;
    const ReplacedImport<decltype(::CoCreateInstance)> creation(
        "CoCreateInstance",
        +[](REFCLSID clsid, IUnknown* outer, DWORD context, REFIID iid, void** created) -> HRESULT {
            CDataObject::m_pIglobalInterfaceTable = g_tableOfOtherThread;
            return ::CoCreateInstance(clsid, outer, context, iid, created);
        });

    CHECK(CDataObject::SetIUnknownData(*newDataObject(), kPrivateFormat, unknown) == S_OK);

    CHECK(CDataObject::m_pIglobalInterfaceTable == &table);
    CHECK(table.registrations == 1);
}

TEST_CASE("SetIUnknownData on a thread without COM returns the error from creating the table") {
    const WithoutTable withoutTable;
    CountingUnknown unknown;
    const auto object = newDataObject();

    CHECK(onAnotherThread([&] {
              return CDataObject::SetIUnknownData(*object, kPrivateFormat, unknown);
          }) == CO_E_NOTINITIALIZED);
    CHECK(CDataObject::GetDataCount(*object) == 0);
    CHECK(unknown.references() == 0);
}

TEST_CASE("An interface is stored and read through a data object") {
    const OleApartment ole;
    CountingUnknown unknown;
    {
        const auto object = newDataObject();
        ATL::CComPtr<IUnknown> received;

        CHECK(CDataObject::SetIUnknownData(*object, kPrivateFormat, unknown) == S_OK);
        CHECK(CDataObject::AcceptIUnknownData(*object, kPrivateFormat) == S_OK);
        CHECK(CDataObject::QueryIUnknownData(*object, kPrivateFormat, &received) == S_OK);

        CHECK(received.p == &unknown);
        const LONG stored = unknown.references();
        received.Release();
        CHECK(unknown.references() == stored - 1);
    }
    CHECK(unknown.references() == 0);
}

TEST_CASE("An interface payload is a GMEM_FIXED block of four bytes with pUnkForRelease") {
    const OleApartment ole;
    CountingUnknown unknown;
    StoringObject object;

    CHECK(CDataObject::SetIUnknownData(object, kPrivateFormat, unknown) == S_OK);

    CHECK(object.format.cfFormat == kPrivateFormat);
    CHECK(object.format.tymed == TYMED_HGLOBAL);
    CHECK(object.released);
    CHECK(object.medium.tymed == TYMED_HGLOBAL);
    CHECK(GlobalSize(object.medium.hGlobal) == 4);
    CHECK(GlobalLock(object.medium.hGlobal) == object.medium.hGlobal);
    CHECK(isRegistered(cookieOf(object.medium)));
    REQUIRE(object.medium.pUnkForRelease != nullptr);
    CHECK(object.medium.pUnkForRelease->AddRef() == 2);
    CHECK(object.medium.pUnkForRelease->Release() == 1);
}

TEST_CASE("QueryInterface of an interface payload's pUnkForRelease supports only IUnknown") {
    const OleApartment ole;
    CountingUnknown unknown;
    StoringObject object;
    REQUIRE(CDataObject::SetIUnknownData(object, kPrivateFormat, unknown) == S_OK);
    IUnknown& owner = *object.medium.pUnkForRelease;
    ATL::CComPtr<IUnknown> same;
    void* other = &unknown;

    CHECK(owner.QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&same)) == S_OK);
    CHECK(owner.QueryInterface(IID_IDataObject, &other) == E_NOINTERFACE);
    CHECK(owner.QueryInterface(IID_IUnknown, nullptr) == E_INVALIDARG);

    CHECK(same.p == &owner);
    CHECK(other == nullptr);
}

TEST_CASE("The last release of an interface payload frees its block and revokes its cookie") {
    const OleApartment ole;
    CountingUnknown unknown;
    StoringObject object;
    REQUIRE(CDataObject::SetIUnknownData(object, kPrivateFormat, unknown) == S_OK);
    const DWORD cookie = cookieOf(object.medium);
    REQUIRE(isRegistered(cookie));

    ReleaseStgMedium(&object.medium);

    CHECK_FALSE(isRegistered(cookie));
    CHECK(unknown.references() == 0);
}

TEST_CASE("Copies of an interface payload share pUnkForRelease until the last release") {
    const OleApartment ole;
    CountingUnknown unknown;
    auto object = newDataObject();
    REQUIRE(CDataObject::SetIUnknownData(*object, kPrivateFormat, unknown) == S_OK);
    FORMATETC format = formatOf(kPrivateFormat, TYMED_HGLOBAL);
    STGMEDIUM first{}, second{};
    REQUIRE(object->GetData(&format, &first) == S_OK);
    REQUIRE(object->GetData(&format, &second) == S_OK);
    const DWORD cookie = cookieOf(first);

    CHECK(first.pUnkForRelease == second.pUnkForRelease);
    CHECK(first.pUnkForRelease->AddRef() == 4);
    CHECK(first.pUnkForRelease->Release() == 3);
    CHECK(cookieOf(second) == cookie);

    object.Release();
    ReleaseStgMedium(&first);
    CHECK(isRegistered(cookie));
    CHECK(cookieOf(second) == cookie);
    ReleaseStgMedium(&second);
    CHECK_FALSE(isRegistered(cookie));
    CHECK(unknown.references() == 0);
}

TEST_CASE("An interface payload outlives the object that it was copied from") {
    const OleApartment ole;
    CountingUnknown unknown;
    {
        auto source = newDataObject();
        const auto target = newDataObject();
        REQUIRE(CDataObject::SetIUnknownData(*source, kPrivateFormat, unknown) == S_OK);

        CHECK(CDataObject::CopyData(*source, *target, kPrivateFormat) == S_OK);
        source.Release();

        ATL::CComPtr<IUnknown> received;
        CHECK(CDataObject::QueryIUnknownData(*target, kPrivateFormat, &received) == S_OK);
        CHECK(received.p == &unknown);
    }
    CHECK(unknown.references() == 0);
}

TEST_CASE("Another block with the pUnkForRelease of an interface payload is duplicated") {
    const OleApartment ole;
    CountingUnknown unknown;
    StoringObject payload;
    REQUIRE(CDataObject::SetIUnknownData(payload, kPrivateFormat, unknown) == S_OK);
    IUnknown* const owner = payload.medium.pUnkForRelease;
    owner->AddRef();
    const HGLOBAL other = newBlock("abc");
    const auto object = newDataObject();
    REQUIRE(setData(*object, formatOf(kOtherFormat, TYMED_HGLOBAL),
                    mediumOf(TYMED_HGLOBAL, other, owner), TRUE) == S_OK);
    FORMATETC format = formatOf(kOtherFormat, TYMED_HGLOBAL);
    STGMEDIUM copy{};

    REQUIRE(object->GetData(&format, &copy) == S_OK);

    CHECK(copy.hGlobal != other);
    CHECK(bytesOf(copy.hGlobal) == "abc");
    CHECK(copy.pUnkForRelease == owner);
    // ReleaseStgMedium does not free the two blocks, because pUnkForRelease is set in their media.
    if (copy.hGlobal != other) GlobalFree(copy.hGlobal);
    GlobalFree(other);
    ReleaseStgMedium(&copy);
}

TEST_CASE("A replaced interface payload releases its interface") {
    const OleApartment ole;
    CountingUnknown first, second;
    const auto object = newDataObject();
    REQUIRE(CDataObject::SetIUnknownData(*object, kPrivateFormat, first) == S_OK);

    REQUIRE(CDataObject::SetIUnknownData(*object, kPrivateFormat, second) == S_OK);

    CHECK(first.references() == 0);
    CHECK(CDataObject::GetDataCount(*object) == 1);
}

TEST_CASE("An interface payload that the data object rejects leaks nothing") {
    const OleApartment ole;
    CountingUnknown unknown;
    ForeignDataObject refusing;
    DWORD cookie = 0;
    refusing.onSetData = [&cookie](const FORMATETC&, STGMEDIUM& medium, bool) {
        cookie = cookieOf(medium);
        return STG_E_MEDIUMFULL;
    };

    CHECK(CDataObject::SetIUnknownData(refusing, kPrivateFormat, unknown) == STG_E_MEDIUMFULL);

    CHECK(unknown.references() == 0);
    CHECK_FALSE(isRegistered(cookie));
    CHECK(blocksLeftBy([&] { CDataObject::SetIUnknownData(refusing, kPrivateFormat, unknown); }) ==
          0);
}

TEST_CASE("Reading an interface leaks nothing") {
    const OleApartment ole;
    CountingUnknown unknown;
    const auto object = newDataObject();
    REQUIRE(CDataObject::SetIUnknownData(*object, kPrivateFormat, unknown) == S_OK);

    CHECK(blocksLeftBy([&object] {
              ATL::CComPtr<IUnknown> received;
              CHECK(CDataObject::QueryIUnknownData(*object, kPrivateFormat, &received) == S_OK);
          }) == 0);
}

TEST_CASE("An interface that cannot be registered is not stored") {
    class Unusable : public CountingUnknown {
    public:
        STDMETHODIMP QueryInterface(REFIID, void** ppv) override {
            *ppv = nullptr;
            return E_NOINTERFACE;
        }
    };
    const OleApartment ole;
    Unusable unknown;
    const auto object = newDataObject();

    CHECK(CDataObject::SetIUnknownData(*object, kPrivateFormat, unknown) != S_OK);

    CHECK(CDataObject::GetDataCount(*object) == 0);
    CHECK(unknown.references() == 0);
}

TEST_CASE("SetIUnknownData leaks nothing when memory runs out") {
    const OleApartment ole;
    CountingUnknown unknown;
    const auto warm = newDataObject();
    REQUIRE(CDataObject::SetIUnknownData(*warm, kPrivateFormat, unknown) == S_OK);
    const LONG before = unknown.references();
    bool failed = true;
    for (long n = 1; failed; ++n) {
        CAPTURE(n);
        const auto object = newDataObject();
        failNth(n);
        const HRESULT hr = resultOf(
            [&] { return CDataObject::SetIUnknownData(*object, kPrivateFormat, unknown); });
        failed = failureFired();
        failNth(0);

        CHECK(hr == (failed ? E_OUTOFMEMORY : S_OK));
        CHECK(CDataObject::GetDataCount(*object) == (failed ? 0 : 1));
        if (failed) CHECK(unknown.references() == before);
    }
}

// --- Reading data from other objects

TEST_CASE("QueryIUnknownData returns the data object's error code if it has no such data") {
    const OleApartment ole;
    CountingUnknown unknown;
    const auto object = newDataObject();
    REQUIRE(CDataObject::SetIUnknownData(*object, kPrivateFormat, unknown) == S_OK);
    const ForeignDataObject refusing;
    IUnknown* received = &unknown;

    CHECK(CDataObject::QueryIUnknownData(*object, kOtherFormat, &received) == DV_E_CLIPFORMAT);
    CHECK(received == nullptr);
    CHECK(CDataObject::QueryIUnknownData(refusing, kPrivateFormat, &received) == DV_E_FORMATETC);
}

TEST_CASE("QueryIUnknownData rejects a block that is smaller than a cookie") {
    const OleApartment ole;
    CountingUnknown unknown;
    const auto object = newDataObject();
    REQUIRE(CDataObject::SetIUnknownData(*object, kPrivateFormat, unknown) == S_OK);

    for (const std::string_view bytes : {"", "a", "ab", "abc"}) {
        CAPTURE(bytes);
        IUnknown* received = &unknown;
        const SingleMediumObject answering(mediumOf(TYMED_HGLOBAL, newBlock(bytes)));
        CHECK(CDataObject::QueryIUnknownData(answering, kPrivateFormat, &received) == E_INVALIDARG);
        CHECK(received == nullptr);
    }
    IUnknown* received = nullptr;
    const SingleMediumObject nothing(mediumOf(TYMED_HGLOBAL, nullptr));
    CHECK(CDataObject::QueryIUnknownData(nothing, kPrivateFormat, &received) == E_INVALIDARG);
}

TEST_CASE("QueryIUnknownData rejects a medium of another storage type and releases it") {
    const OleApartment ole;
    CountingUnknown unknown;
    const auto object = newDataObject();
    REQUIRE(CDataObject::SetIUnknownData(*object, kPrivateFormat, unknown) == S_OK);
    CountingStream stream;
    stream.AddRef();
    const SingleMediumObject answering(mediumOf(TYMED_ISTREAM, &stream));
    IUnknown* received = nullptr;

    CHECK(CDataObject::QueryIUnknownData(answering, kPrivateFormat, &received) == E_INVALIDARG);

    CHECK(stream.references() == 0);
}

TEST_CASE("QueryIUnknownData fails for an unregistered cookie and releases the medium") {
    const OleApartment ole;
    CountingUnknown unknown, owner;
    const auto object = newDataObject();
    REQUIRE(CDataObject::SetIUnknownData(*object, kPrivateFormat, unknown) == S_OK);
    owner.AddRef();
    const HGLOBAL block = newBlock("\xFE\xFF\xFF\x7F slack");
    const SingleMediumObject answering(mediumOf(TYMED_HGLOBAL, block, &owner));
    IUnknown* received = &unknown;

    CHECK(CDataObject::QueryIUnknownData(answering, kPrivateFormat, &received) == E_INVALIDARG);

    CHECK(received == nullptr);
    CHECK(owner.references() == 0);
    GlobalFree(block);
}

// --- Apartments and threads

TEST_CASE("An interface is read in another apartment as a proxy to the first apartment") {
    class ThreadStream : public CountingStream {
    public:
        DWORD calledOn = 0;
        STDMETHODIMP Revert() override {
            calledOn = GetCurrentThreadId();
            return S_OK;
        }
    };
    const OleApartment ole;
    ThreadStream stream;
    {
        const auto object = newDataObject();
        REQUIRE(CDataObject::SetIUnknownData(*object, kPrivateFormat, stream) == S_OK);
        HRESULT queried = E_FAIL, called = E_FAIL;
        bool direct = true;

        const Thread reader([&] {
            const Apartment apartment(COINIT_MULTITHREADED);
            ATL::CComPtr<IUnknown> received;
            queried = CDataObject::QueryIUnknownData(*object, kPrivateFormat, &received);
            direct = received.p == static_cast<IUnknown*>(&stream);
            ATL::CComPtr<IStream> proxy;
            if (received &&
                received->QueryInterface(IID_IStream, reinterpret_cast<void**>(&proxy)) == S_OK)
                called = proxy->Revert();
        });
        REQUIRE(pumpUntil(reader.handle()));

        CHECK(queried == S_OK);
        CHECK_FALSE(direct);
        CHECK(called == S_OK);
        CHECK(stream.calledOn == GetCurrentThreadId());
    }
    CHECK(stream.references() == 0);
}

TEST_CASE("Threads can store and read interfaces at the same time") {
    const OleApartment ole;
    LONG failures = 0;

    onThreads(4, [&] {
        const Apartment apartment(COINIT_MULTITHREADED);
        // Each thread uses its own object, because Wine's global interface table crashes if several
        // threads register and revoke the same object.
        CountingUnknown unknown;
        for (int i = 0; i < 200; ++i) {
            const auto source = newDataObject(), target = newDataObject();
            ATL::CComPtr<IUnknown> received;
            if (CDataObject::SetIUnknownData(*source, kPrivateFormat, unknown) != S_OK ||
                CDataObject::CopyData(*source, *target, kPrivateFormat) != S_OK ||
                CDataObject::QueryIUnknownData(*target, kPrivateFormat, &received) != S_OK ||
                received.p != &unknown)
                InterlockedIncrement(&failures);
        }
        if (unknown.references() != 0) InterlockedIncrement(&failures);
    });

    CHECK(failures == 0);
}

}  // namespace
