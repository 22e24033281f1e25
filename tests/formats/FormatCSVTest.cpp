#include "formats/FormatCSV.h"

#include <doctest/doctest.h>

#include <memory>
#include <string>

#include "clipboard/CDataObject.h"
#include "tests/support/DataObjects.h"

namespace {

using namespace testsupport;
using OrvexClipboard::FormatCSV;

CLIPFORMAT formatId() { return static_cast<CLIPFORMAT>(FormatCSV::GetClipboardID()); }

TEST_CASE("FormatCSV accepts only a block in its own format") {
    const auto object = newDataObject(), other = newDataObject();
    REQUIRE(setBlock(*object, formatId(), "a,b") == S_OK);
    REQUIRE(setBlock(*other, CF_TEXT, "a,b") == S_OK);

    CHECK(FormatCSV::AcceptData(*object) == S_OK);
    CHECK(FormatCSV::AcceptData(*other) == DV_E_CLIPFORMAT);
}

TEST_CASE("FormatCSV imports narrow text and the size of its block") {
    const auto object = newDataObject();
    REQUIRE(CDataObject::SetTextData(*object, formatId(), "a,b\r\n1,2\r\n", -1) == S_OK);
    char* received = nullptr;
    unsigned __int64 length = 0;

    CHECK(FormatCSV::ImportData(*object, &received, &length) == S_OK);
    const std::unique_ptr<char[]> text(received);

    CHECK(std::string(text.get()) == "a,b\r\n1,2\r\n");
    CHECK(length == 11);
}

TEST_CASE("FormatCSV imports text without an output pointer for the length") {
    const auto object = newDataObject();
    REQUIRE(setBlock(*object, formatId(), "a,b") == S_OK);
    char* received = nullptr;

    CHECK(FormatCSV::ImportData(*object, &received, nullptr) == S_OK);
    const std::unique_ptr<char[]> text(received);

    CHECK(std::string(text.get()) == "a,b");
}

TEST_CASE("FormatCSV clears the text pointer and keeps the length if there is no data") {
    char garbage[] = "garbage";
    char* text = garbage;
    unsigned __int64 length = 7;

    CHECK(FormatCSV::ImportData(*newDataObject(), &text, &length) == DV_E_CLIPFORMAT);
    CHECK(FormatCSV::ImportData(*newDataObject(), nullptr, &length) == E_POINTER);

    CHECK(text == nullptr);
    CHECK(length == 7);
}

}  // namespace
