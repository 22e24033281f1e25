#include <doctest/doctest.h>

#include "clipboard/CDataObject.h"
#include "tests/clipboard/StoredBlocks.h"
#include "tests/support/Counting.h"
#include "tests/support/DataObjects.h"
#include "tests/support/ForeignDataObject.h"

namespace {

using namespace testsupport;

TEST_CASE("DUnadvise and EnumDAdvise fail before the first DAdvise") {
    const auto object = newDataObject();
    ATL::CComPtr<IEnumSTATDATA> connections;

    CHECK(object->DUnadvise(1) == E_FAIL);
    CHECK(object->EnumDAdvise(&connections) == E_FAIL);
}

TEST_CASE("DAdvise rejects a format that is not stored") {
    const auto object = newDataObject();
    CountingSink sink;
    FORMATETC format = formatOf(CF_TEXT, TYMED_HGLOBAL);
    DWORD connection = 0;

    CHECK(object->DAdvise(&format, 0, &sink, &connection) == DV_E_FORMATETC);
    CHECK(object->DAdvise(nullptr, 0, &sink, &connection) == DV_E_FORMATETC);

    CHECK(sink.references() == 0);
    CHECK(object->DUnadvise(1) == E_FAIL);
}

TEST_CASE("DAdvise returns the advise holder's result for a null sink") {
    const auto object = newDataObject();
    storeBlock(*object, CF_TEXT, "abc");
    FORMATETC format = formatOf(CF_TEXT, TYMED_HGLOBAL);
    DWORD connection = 0;
    ATL::CComPtr<IDataAdviseHolder> holder;
    REQUIRE(::CreateDataAdviseHolder(&holder) == S_OK);
    const HRESULT answer = holder->Advise(object, &format, ADVF_NODATA, nullptr, &connection);

    CHECK(object->DAdvise(&format, ADVF_NODATA, nullptr, &connection) == answer);

    // If DAdvise had not created an advise holder, the result would be E_FAIL.
    CHECK(object->DUnadvise(77) == OLE_E_NOCONNECTION);
}

TEST_CASE("A sink stays connected from DAdvise to DUnadvise") {
    const auto object = newDataObject();
    storeBlock(*object, CF_TEXT, "abc");
    CountingSink sink;
    FORMATETC format = formatOf(CF_TEXT, TYMED_HGLOBAL);
    DWORD connection = 0;

    REQUIRE(object->DAdvise(&format, ADVF_NODATA, &sink, &connection) == S_OK);
    CHECK(connection != 0);
    CHECK(sink.references() == 1);
    {
        ATL::CComPtr<IEnumSTATDATA> connections;
        STATDATA listed{};
        CHECK(object->EnumDAdvise(&connections) == S_OK);
        CHECK(connections->Next(1, &listed, nullptr) == S_OK);
        CHECK(listed.dwConnection == connection);
        CHECK(listed.formatetc.cfFormat == CF_TEXT);
        if (listed.pAdvSink) listed.pAdvSink->Release();
    }
    CHECK(object->DUnadvise(connection) == S_OK);

    CHECK(sink.references() == 0);
    CHECK(object->DUnadvise(connection) == OLE_E_NOCONNECTION);
}

TEST_CASE("Two sinks are connected and disconnected independently") {
    const auto object = newDataObject();
    storeBlock(*object, CF_TEXT, "abc");
    CountingSink first, second;
    FORMATETC format = formatOf(CF_TEXT, TYMED_HGLOBAL);
    DWORD firstConnection = 0, secondConnection = 0;
    REQUIRE(object->DAdvise(&format, ADVF_NODATA, &first, &firstConnection) == S_OK);
    REQUIRE(object->DAdvise(&format, ADVF_NODATA, &second, &secondConnection) == S_OK);

    CHECK(object->DUnadvise(firstConnection) == S_OK);

    CHECK(first.references() == 0);
    CHECK(second.references() == 1);
    CHECK(object->DUnadvise(secondConnection) == S_OK);
}

TEST_CASE("A data object releases its sinks when it is destroyed") {
    CountingSink sink;
    {
        const auto object = newDataObject();
        storeBlock(*object, CF_TEXT, "abc");
        FORMATETC format = formatOf(CF_TEXT, TYMED_HGLOBAL);
        DWORD connection = 0;
        REQUIRE(object->DAdvise(&format, ADVF_NODATA, &sink, &connection) == S_OK);
        CHECK(sink.references() == 1);
    }
    CHECK(sink.references() == 0);
}

// Creates a ForeignDataObject that returns a stream, and uses the system's IDataAdviseHolder to
// notify a sink once.
// @return The number of references to the stream that the holder has not released.
LONG referencesLeftByHolder(FORMATETC format) {
    CountingStream stream;
    ForeignDataObject object;
    object.onGetData = [&stream](const FORMATETC&, STGMEDIUM& medium) {
        medium = mediumOf(TYMED_ISTREAM, &stream);
        stream.AddRef();
        return S_OK;
    };
    ATL::CComPtr<IDataAdviseHolder> holder;
    REQUIRE(::CreateDataAdviseHolder(&holder) == S_OK);
    CountingSink sink;
    DWORD connection = 0;
    REQUIRE(holder->Advise(&object, &format, ADVF_PRIMEFIRST, &sink, &connection) == S_OK);
    REQUIRE(holder->Unadvise(connection) == S_OK);
    CHECK(sink.changes == 1);
    return stream.references();
}

// On Windows, the system's IDataAdviseHolder releases the medium after it has notified the sink.
// Wine's IDataAdviseHolder does not release the medium.
TEST_CASE("DAdvise with ADVF_PRIMEFIRST leaves only the references that the advise holder keeps") {
    const auto object = newDataObject();
    CountingStream stream;
    FORMATETC format = formatOf(300, TYMED_ISTREAM);
    REQUIRE(setData(*object, format, mediumOf(TYMED_ISTREAM, &stream), FALSE) == S_OK);
    const LONG before = stream.references();
    CountingSink sink;
    DWORD connection = 0;

    REQUIRE(object->DAdvise(&format, ADVF_PRIMEFIRST, &sink, &connection) == S_OK);
    REQUIRE(object->DUnadvise(connection) == S_OK);

    CHECK(sink.changes == 1);
    CHECK(stream.references() == before + referencesLeftByHolder(format));
}

TEST_CASE("SetData does not notify sinks") {
    const auto object = newDataObject();
    storeBlock(*object, CF_TEXT, "one");
    CountingSink sink;
    FORMATETC format = formatOf(CF_TEXT, TYMED_HGLOBAL);
    DWORD connection = 0;
    REQUIRE(object->DAdvise(&format, ADVF_NODATA, &sink, &connection) == S_OK);

    storeBlock(*object, CF_TEXT, "two");

    CHECK(sink.changes == 0);
    CHECK(object->DUnadvise(connection) == S_OK);
}

}  // namespace
