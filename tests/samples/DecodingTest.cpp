// Tests how the samples decode clipboard data.
#include "samples/clipboard_view/Decoding.h"

#include <doctest/doctest.h>
#include <windows.h>

#include <ole2.h>

#include <string>
#include <vector>

#include "tests/support/DataObjects.h"
#include "tests/support/OleApartment.h"

using testsupport::formatOf;
using testsupport::kPrivateFormat;
using testsupport::OleApartment;
using testsupport::ReceivedMedium;

namespace {

/// Returns the contents of the global memory block that objectWith() stores for `bytes`.
std::string storedBytes(const std::string& bytes) {
    const ATL::CComPtr<IDataObject> object = objectWith(kPrivateFormat, bytes);
    REQUIRE(object);
    FORMATETC format = formatOf(kPrivateFormat, TYMED_HGLOBAL);
    ReceivedMedium medium;
    REQUIRE(object->GetData(&format, &medium) == S_OK);
    return testsupport::bytesOf(medium.hGlobal);
}

}  // namespace

TEST_CASE("objectWith stores no byte after the given bytes, because XML parsers reject a NUL") {
    const OleApartment apartment;

    CHECK(storedBytes("<news/>") == "<news/>");
    CHECK(storedBytes("a") == "a");
}

TEST_CASE(
    "objectWith stores one NUL for an empty string, because an empty block cannot be locked") {
    const OleApartment apartment;

    CHECK(storedBytes("") == std::string(1, '\0'));
}

TEST_CASE("decode counts the lines that it does not return and does not store them") {
    const OleApartment apartment;
    const std::string text = "first\r\nsecond\rthird" + std::string(100000, '\n');

    const Decoded decoded = decode(CF_TEXT, text, 2);

    CHECK(decoded.lines == std::vector<std::wstring>{L"first", L"second"});
    CHECK(decoded.omittedLines == 100000);
    CHECK(decoded.lines.capacity() < 100);  // decode() did not store the omitted lines
}

TEST_CASE("decode returns all lines if the text has no more lines than requested") {
    const OleApartment apartment;

    const Decoded decoded = decode(CF_TEXT, "first\n\nlast", 3);

    CHECK(decoded.lines == std::vector<std::wstring>{L"first", L"", L"last"});
    CHECK(decoded.omittedLines == 0);
}
