#include <doctest/doctest.h>

#include "clipboard/CDataObjectEntry.h"
#include "tests/support/Counting.h"
#include "tests/support/DataObjects.h"

namespace {

using namespace testsupport;

TEST_CASE("An entry checks the members of a requested FORMATETC in a fixed order") {
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

TEST_CASE("QueryInterface of an entry supports only IUnknown") {
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

TEST_CASE("An entry starts with one reference, and the last Release frees its medium") {
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

TEST_CASE("CreateInstance of an entry rejects a null output pointer") {
    CountingStream stream;
    stream.AddRef();

    CHECK(CDataObjectEntry::CreateInstance(formatOf(CF_TEXT, TYMED_ISTREAM),
                                           mediumOf(TYMED_ISTREAM, &stream), true,
                                           nullptr) == E_POINTER);

    CHECK(stream.references() == 1);
}

}  // namespace
