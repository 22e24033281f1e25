#include "dll/atl.h"

#include <doctest/doctest.h>

#include <cstddef>
#include <utility>

#include "tests/support/Counting.h"

namespace {

using ATL::CComBSTR;
using ATL::CComPtr;
using ATL::CComVariant;

template <class Pointer>
concept CountsReferences = requires(Pointer pointer) {
    pointer->AddRef();
    pointer->Release();
};
static_assert(CountsReferences<IStream*>);

TEST_CASE("A CComBSTR is compared by its characters") {
    const CComBSTR cell(L"Cell");
    wchar_t sameText[] = L"Cell";

    CHECK(cell == CComBSTR(L"Cell"));
    CHECK(cell == L"Cell");
    CHECK(cell == sameText);
    CHECK_FALSE(cell == L"Cells");
    CHECK(cell != CComBSTR(L"cell"));
    CHECK(cell != L"Row");
    CHECK_FALSE(cell != sameText);
}

#if !defined(__ATLCOMCLI_H__)  // ATL's operators compare pointers
TEST_CASE("A CComBSTR to the right of a string is compared by its characters") {
    const CComBSTR cell(L"Cell");
    wchar_t sameText[] = L"Cell";

    CHECK(L"Cell" == cell);
    CHECK(sameText == cell);
    CHECK(L"Row" != cell);
}
#endif

TEST_CASE("A CComBSTR without a string equals an empty one and NULL") {
    const CComBSTR none;

    CHECK(none == L"");
    CHECK(none == CComBSTR(L""));
    CHECK(bool(none == nullptr));
    CHECK(bool(nullptr == none));
    CHECK(bool(none == NULL));
    CHECK(!none);
}

TEST_CASE("An empty CComBSTR is not null") {
    const CComBSTR empty(L"");

    CHECK(bool(empty != nullptr));
    CHECK_FALSE(!empty);
}

TEST_CASE("A CComPtr from nullptr is null") {
    const CComPtr<IUnknown> none(nullptr);

    CHECK(!none);
}

TEST_CASE("A CComBSTR from a null string is null") {
    CHECK(!CComBSTR(static_cast<const wchar_t*>(nullptr)));
}

TEST_CASE("The arrow operator of a CComPtr does not give access to the reference count") {
    CHECK_FALSE(CountsReferences<CComPtr<IUnknown>>);
    CHECK_FALSE(CountsReferences<CComPtr<IStream>>);
}

TEST_CASE("The arrow operator of a CComPtr calls the methods of the interface") {
    testsupport::CountingStream stream;
    const CComPtr<IStream> pointer(&stream);
    IUnknown* queried = nullptr;

    CHECK(pointer->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&queried)) == S_OK);
    CHECK(pointer->Revert() == E_NOTIMPL);

    CHECK(queried == &stream);
    queried->Release();
}

TEST_CASE("A CComPtr has one reference after each kind of assignment") {
    testsupport::CountingUnknown first, second;
    {
        CComPtr<IUnknown> pointer(&first);
        CComPtr<IUnknown> other(&second);
        const CComPtr<IUnknown>& itself = pointer;

        pointer = itself;
        CHECK(first.references() == 1);
        pointer = &first;
        CHECK(first.references() == 1);
        pointer = other;
        CHECK(first.references() == 0);
        CHECK(second.references() == 2);
        other = &first;
        pointer = std::move(other);
        CHECK(first.references() == 1);
        CHECK(second.references() == 0);
        CHECK(!other);
        pointer = nullptr;
        CHECK(!pointer);
    }
    CHECK(first.references() == 0);
    CHECK(second.references() == 0);
}

TEST_CASE("A CComPtr that receives a reference releases its previous reference") {
    testsupport::CountingUnknown held, taken;
    CComPtr<IUnknown> pointer(&held);
    taken.AddRef();

    pointer.Attach(&taken);

    CHECK(held.references() == 0);
    CHECK(taken.references() == 1);
}

TEST_CASE("A CComVariant from an object has a reference to the object") {
    testsupport::CountingUnknown object;
    {
        const CComVariant variant(&object);
        CHECK(object.references() == 1);
    }
    CHECK(object.references() == 0);
}

TEST_CASE("A CComVariant has the type of the value that it is created from") {
    CHECK(CComVariant(true).vt == VT_BOOL);
    CHECK(CComVariant(true).boolVal == VARIANT_TRUE);
    CHECK(CComVariant(false).boolVal == VARIANT_FALSE);
    CHECK(CComVariant(short{-2}).vt == VT_I2);
    CHECK(CComVariant(short{-2}).iVal == -2);
    CHECK(CComVariant(-2).vt == VT_I4);
    CHECK(CComVariant(-2L).vt == VT_I4);
    CHECK(CComVariant(2U).vt == VT_UI4);
    CHECK(CComVariant(2UL).ulVal == 2);
    CHECK(CComVariant(2.5).vt == VT_R8);
    CHECK(CComVariant(2.5).dblVal == 2.5);
    CHECK(CComVariant(2LL).vt == VT_I8);
    CHECK(CComVariant(2ULL).vt == VT_UI8);
    CHECK(CComVariant(static_cast<IDispatch*>(nullptr)).vt == VT_DISPATCH);
    CHECK(CComVariant(static_cast<IUnknown*>(nullptr)).vt == VT_UNKNOWN);
}

}  // namespace
