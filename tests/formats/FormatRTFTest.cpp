#include "formats/FormatRTF.h"

#include <doctest/doctest.h>

#include <string>

#include "clipboard/CDataObject.h"
#include "tests/support/DataObjects.h"
#include "tests/support/ForeignDataObject.h"

namespace {

using namespace testsupport;
using OrvexClipboard::FormatRTF;

CLIPFORMAT formatId() { return static_cast<CLIPFORMAT>(FormatRTF::GetClipboardID()); }

std::string exported(const char* rtf, unsigned __int64 length) {
    const auto object = newDataObject();
    REQUIRE(FormatRTF::ExportData(*object, rtf, length) == S_OK);
    return blockOf(*object, formatId());
}

TEST_CASE("FormatRTF exports the given number of bytes and a NUL") {
    CHECK(exported("{\\rtf1 abc}", 6) == std::string("{\\rtf1") + '\0');
    CHECK(exported("{\\rtf1 abc}", 0) == std::string(1, '\0'));
}

TEST_CASE("FormatRTF exports the text before the first NUL if the length is -1") {
    CHECK(exported("{\\rtf1}", static_cast<unsigned __int64>(-1)) ==
          std::string("{\\rtf1}") + '\0');
}

TEST_CASE("FormatRTF treats the length as a signed 32-bit number") {
    const std::string whole = std::string("{\\rtf1}") + '\0';
    CHECK(exported("{\\rtf1}", 0x80000000u) == whole);
    CHECK(exported("{\\rtf1}", 0xFFFFFFFFu) == whole);
    CHECK(exported("{\\rtf1}", 0x100000003u) == std::string("{\\r") + '\0');
}

TEST_CASE("FormatRTF stores a block in its own format only") {
    const auto object = newDataObject();
    REQUIRE(FormatRTF::ExportData(*object, "{\\rtf1}", 7) == S_OK);

    CHECK(listOf(*object) == std::vector{std::pair(int{formatId()}, int{TYMED_HGLOBAL})});
}

TEST_CASE("FormatRTF accepts exported data") {
    const auto object = newDataObject();
    CHECK(FormatRTF::AcceptData(*object) == DV_E_CLIPFORMAT);
    REQUIRE(FormatRTF::ExportData(*object, "{\\rtf1}", 7) == S_OK);

    CHECK(FormatRTF::AcceptData(*object) == S_OK);
}

TEST_CASE("FormatRTF returns E_POINTER for null text") {
    CHECK(FormatRTF::ExportData(*newDataObject(), nullptr, 0) == E_POINTER);
}

TEST_CASE("FormatRTF returns the data object's result") {
    ForeignDataObject object;
    object.onSetData = [](const FORMATETC&, STGMEDIUM&, bool) { return STG_E_MEDIUMFULL; };

    CHECK(FormatRTF::ExportData(object, "{\\rtf1}", 7) == STG_E_MEDIUMFULL);
}

}  // namespace
