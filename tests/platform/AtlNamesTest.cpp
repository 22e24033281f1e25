#include "dll/atl.h"

#include <doctest/doctest.h>

#include <cstddef>

#include "tests/support/Counting.h"

namespace {

using ATL::CComBSTR;
using ATL::CComVariant;

TEST_CASE("A CComBSTR compares by its characters") {
    const CComBSTR cell(L"Cell");
    wchar_t sameText[] = L"Cell";

    CHECK(cell == CComBSTR(L"Cell"));
    CHECK(cell == L"Cell");
    CHECK(cell == sameText);
    CHECK_FALSE(cell == L"Cells");
    CHECK(cell != CComBSTR(L"cell"));
    CHECK(cell != L"Row");
    CHECK(L"Cell" == cell);
    CHECK(sameText == cell);
    CHECK(L"Row" != cell);
    CHECK_FALSE(cell != sameText);
}

TEST_CASE("A CComBSTR without a string equals the empty one and NULL") {
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

TEST_CASE("A CComPtr of nullptr holds nothing") {
    const ATL::CComPtr<IUnknown> none(nullptr);

    CHECK(!none);
}

TEST_CASE("A CComBSTR of no text is null") {
    CHECK(!CComBSTR(static_cast<const wchar_t*>(nullptr)));
}

TEST_CASE("A CComPtr that takes over a reference gives back the one that it held") {
    testsupport::CountingUnknown held, taken;
    ATL::CComPtr<IUnknown> pointer(&held);
    taken.AddRef();

    pointer.Attach(&taken);

    CHECK(held.references() == 0);
    CHECK(taken.references() == 1);
}

TEST_CASE("A CComVariant of an object holds a reference to it") {
    testsupport::CountingUnknown object;
    {
        const CComVariant variant(&object);
        CHECK(object.references() == 1);
    }
    CHECK(object.references() == 0);
}

TEST_CASE("A CComVariant takes the type of what it is made of") {
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
    CHECK(CComVariant(static_cast<IDispatch*>(nullptr)).vt == VT_UNKNOWN);
    CHECK(CComVariant(static_cast<IUnknown*>(nullptr)).vt == VT_UNKNOWN);
}

}  // namespace
