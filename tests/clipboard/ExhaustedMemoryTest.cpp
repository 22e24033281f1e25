// Calls functions while every allocation fails, on a thread that has not thrown an exception
// before. Such a thread cannot throw, because its first exception needs memory. A function that
// reports the failure with an HRESULT must therefore not use exceptions internally.
#include <doctest/doctest.h>
#include <windows.h>

#include <cstddef>

#include "clipboard/CDataObject.h"
#include "clipboard/CDataObjectEntry.h"
#include "tests/support/Apartment.h"
#include "tests/support/Counting.h"
#include "tests/support/DataObjects.h"
#include "tests/support/ReplacedImport.h"
#include "tests/support/Threads.h"

namespace {

using namespace testsupport;

using Malloc = void*(std::size_t);
using Calloc = void*(std::size_t, std::size_t);
using Realloc = void*(void*, std::size_t);

bool g_exhausted = false;
Malloc* g_malloc;
Calloc* g_calloc;
Realloc* g_realloc;

// Makes a call on a new thread while every allocation by the library fails.
// @return The result of the call, or S_OK if the thread ended during the call.
template <class Call>
HRESULT whileExhausted(Call&& call) {
    const ReplacedImport<Malloc> malloc(
        "malloc", +[](std::size_t size) { return g_exhausted ? nullptr : g_malloc(size); });
    const ReplacedImport<Calloc> calloc(
        "calloc", +[](std::size_t count, std::size_t size) {
            return g_exhausted ? nullptr : g_calloc(count, size);
        });
    const ReplacedImport<Realloc> realloc(
        "realloc", +[](void* block, std::size_t size) {
            return g_exhausted ? nullptr : g_realloc(block, size);
        });
    g_malloc = malloc.original();
    g_calloc = calloc.original();
    g_realloc = realloc.original();
    HRESULT hr = S_OK;
    {
        const Thread thread([&] {
            const Apartment apartment(COINIT_MULTITHREADED);
            g_exhausted = true;
            hr = call();
            g_exhausted = false;
        });
        ::WaitForSingleObject(thread.handle(), INFINITE);
    }
    g_exhausted = false;
    return hr;
}

TEST_CASE("CreateInstance returns an error code while every allocation fails") {
    IDataObject* object = nullptr;

    CHECK(whileExhausted([&] { return CDataObject::CreateInstance(&object); }) == E_FAIL);

    CHECK(object == nullptr);
}

TEST_CASE("Enumerators return error codes while every allocation fails") {
    const auto object = newDataObject();
    REQUIRE(setBlock(*object, kPrivateFormat, "abc") == S_OK);
    ATL::CComPtr<IEnumFORMATETC> enumerator, created;
    REQUIRE(object->EnumFormatEtc(DATADIR_GET, &enumerator) == S_OK);

    CHECK(whileExhausted([&] { return object->EnumFormatEtc(DATADIR_GET, &created); }) ==
          E_OUTOFMEMORY);
    CHECK(whileExhausted([&] { return enumerator->Clone(&created); }) == E_OUTOFMEMORY);

    CHECK(created == nullptr);
}

TEST_CASE(
    "CreateInstance of an entry fails and does not take the medium while every allocation fails") {
    CountingStream stream;
    stream.AddRef();
    ATL::CComPtr<CDataObjectEntry> entry;

    CHECK(whileExhausted([&] {
              return CDataObjectEntry::CreateInstance(formatOf(kPrivateFormat, TYMED_ISTREAM),
                                                      mediumOf(TYMED_ISTREAM, &stream), true,
                                                      &entry);
          }) == E_OUTOFMEMORY);

    CHECK(stream.references() == 1);
}

TEST_CASE("SetIUnknownData returns an error code while every allocation fails") {
    const auto object = newDataObject();
    CountingUnknown unknown;

    CHECK(whileExhausted([&] {
              return CDataObject::SetIUnknownData(*object, kPrivateFormat, unknown);
          }) == E_OUTOFMEMORY);

    CHECK(unknown.references() == 0);
}

}  // namespace
