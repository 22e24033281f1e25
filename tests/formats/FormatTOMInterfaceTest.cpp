#include "formats/FormatTOMInterface.h"

#include <doctest/doctest.h>

#include "clipboard/CDataObject.h"
#include "tests/support/Apartment.h"
#include "tests/support/Counting.h"
#include "tests/support/DataObjects.h"

namespace {

using namespace testsupport;
using OrvexClipboard::FormatTOMInterface;

CLIPFORMAT formatId() { return static_cast<CLIPFORMAT>(FormatTOMInterface::GetClipboardID()); }

TEST_CASE("FormatTOMInterface imports an exported interface") {
    const Apartment apartment;
    CountingUnknown unknown;
    {
        const auto object = newDataObject();
        ATL::CComPtr<IUnknown> received;

        CHECK(FormatTOMInterface::ExportData(*object, unknown) == S_OK);
        CHECK(FormatTOMInterface::AcceptData(*object) == S_OK);
        CHECK(FormatTOMInterface::ImportData(*object, &received) == S_OK);

        CHECK(received.p == &unknown);
        CHECK(listOf(*object) == std::vector{std::pair(int{formatId()}, int{TYMED_HGLOBAL})});
    }
    CHECK(unknown.references() == 0);
}

TEST_CASE("FormatTOMInterface accepts only its own format") {
    const auto object = newDataObject();
    REQUIRE(setBlock(*object, kPrivateFormat, "abcd") == S_OK);

    CHECK(FormatTOMInterface::AcceptData(*object) == DV_E_CLIPFORMAT);
}

TEST_CASE("FormatTOMInterface imports nothing from an object without the format") {
    const Apartment apartment;
    CountingUnknown unknown;
    const auto filled = newDataObject();
    // ExportData creates the library's global interface table.
    REQUIRE(FormatTOMInterface::ExportData(*filled, unknown) == S_OK);
    ATL::CComPtr<IUnknown> received;

    CHECK(FormatTOMInterface::ImportData(*newDataObject(), &received) == DV_E_CLIPFORMAT);
    CHECK(FormatTOMInterface::ImportData(*filled, nullptr) == E_POINTER);

    CHECK_FALSE(received);
}

}  // namespace
