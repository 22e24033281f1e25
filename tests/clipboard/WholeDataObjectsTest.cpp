#include <doctest/doctest.h>

#include <cstring>
#include <vector>

#include "clipboard/CDataObject.h"
#include "tests/support/Counting.h"
#include "tests/support/DataObjects.h"
#include "tests/support/ForeignDataObject.h"

namespace {

using namespace testsupport;
using Formats = std::vector<std::pair<int, int>>;

TEST_CASE("GetDataCount counts the formats of a data object") {
    const auto object = newDataObject();
    CHECK(CDataObject::GetDataCount(*object) == 0);

    REQUIRE(setBlock(*object, CF_TEXT, "abc") == S_OK);
    REQUIRE(setBlock(*object, CF_DIB, "abc") == S_OK);

    CHECK(CDataObject::GetDataCount(*object) == 2);
}

TEST_CASE("GetDataCount returns 0 for an object without an enumerator") {
    ForeignDataObject object;
    CHECK(CDataObject::GetDataCount(object) == 0);

    object.onEnumFormats = [](IEnumFORMATETC**) { return S_OK; };
    CHECK(CDataObject::GetDataCount(object) == 0);

    object.onEnumFormats = [](IEnumFORMATETC** enumerator) {
        *enumerator = reinterpret_cast<IEnumFORMATETC*>(8);
        return E_FAIL;
    };
    CHECK(CDataObject::GetDataCount(object) == 0);
}

TEST_CASE("GetDataCount stops at any result except S_OK and releases the enumerator") {
    for (const HRESULT end : {S_FALSE, E_FAIL, HRESULT{2}}) {
        CAPTURE(end);
        int given = 0;
        ForeignEnumerator enumerator;
        enumerator.onNext = [&given, end](FORMATETC&) { return given++ < 3 ? S_OK : end; };
        ForeignDataObject object;
        object.onEnumFormats = [&enumerator](IEnumFORMATETC** e) {
            return enumerator.QueryInterface(IID_IEnumFORMATETC, reinterpret_cast<void**>(e));
        };

        CHECK(CDataObject::GetDataCount(object) == 3);

        CHECK(enumerator.references() == 0);
    }
}

TEST_CASE("GetDataCount frees the target devices that it receives") {
    DVTARGETDEVICE device{};
    const auto object = newDataObject();
    FORMATETC format = formatOf(CF_TEXT, TYMED_HGLOBAL);
    format.ptd = &device;
    STGMEDIUM medium = mediumOf(TYMED_HGLOBAL, newBlock("abc"));
    REQUIRE(object->SetData(&format, &medium, TRUE) == S_OK);

    const long leftByEnumerator = blocksLeftBy([&object] {
        ATL::CComPtr<IEnumFORMATETC> enumerator;
        object->EnumFormatEtc(DATADIR_GET, &enumerator);
    });

    CHECK(blocksLeftBy([&object] { CDataObject::GetDataCount(*object); }) == leftByEnumerator);
}

// A data object whose enumerator returns the same format repeatedly and never reports the end of
// its list.
class Endless : public ForeignDataObject {
public:
    explicit Endless(CLIPFORMAT cf) {
        m_enumerator.onNext = [cf](FORMATETC& format) {
            format = formatOf(cf, TYMED_HGLOBAL);
            return S_OK;
        };
        onEnumFormats = [this](IEnumFORMATETC** e) {
            return m_enumerator.QueryInterface(IID_IEnumFORMATETC, reinterpret_cast<void**>(e));
        };
    }
    LONG references() const { return m_enumerator.references(); }

private:
    ForeignEnumerator m_enumerator;
};

TEST_CASE(
    "GetDataCount and CopyData stop after the maximum number of formats of an endless enumerator") {
    Endless object(CF_TEXT);
    const auto target = newDataObject();

    CHECK(CDataObject::GetDataCount(object) == 65536 * 7);
    CHECK(CDataObject::CopyData(object, *target, CF_DIB) == DV_E_CLIPFORMAT);

    CHECK(object.references() == 0);
}

TEST_CASE("CopyData stores a duplicate in the target") {
    auto source = newDataObject();
    const auto target = newDataObject();
    REQUIRE(setBlock(*source, CF_TEXT, "other") == S_OK);
    REQUIRE(setBlock(*source, kPrivateFormat, "abc") == S_OK);

    CHECK(CDataObject::CopyData(*source, *target, kPrivateFormat) == S_OK);

    source.Release();
    CHECK(listOf(*target) == Formats{{kPrivateFormat, TYMED_HGLOBAL}});
    CHECK(blockOf(*target, kPrivateFormat) == "abc");
}

TEST_CASE("CopyData of a format that the source does not have leaves the target unchanged") {
    const auto source = newDataObject(), target = newDataObject();
    REQUIRE(setBlock(*source, CF_TEXT, "abc") == S_OK);
    REQUIRE(setBlock(*target, kPrivateFormat, "kept") == S_OK);

    CHECK(CDataObject::CopyData(*source, *target, kPrivateFormat) == DV_E_CLIPFORMAT);

    CHECK(listOf(*target) == Formats{{kPrivateFormat, TYMED_HGLOBAL}});
    CHECK(blockOf(*target, kPrivateFormat) == "kept");
}

TEST_CASE("CopyData copies the first of several storage types") {
    const auto source = newDataObject(), target = newDataObject();
    CountingStream stream;
    stream.AddRef();
    FORMATETC format = formatOf(CF_TEXT, TYMED_ISTREAM);
    STGMEDIUM medium = mediumOf(TYMED_ISTREAM, &stream);
    REQUIRE(source->SetData(&format, &medium, TRUE) == S_OK);
    REQUIRE(setBlock(*source, CF_TEXT, "abc") == S_OK);

    CHECK(CDataObject::CopyData(*source, *target, CF_TEXT) == S_OK);

    CHECK(listOf(*target) == Formats{{CF_TEXT, TYMED_ISTREAM}});
    CHECK(stream.references() == 2);
}

// A SingleMediumObject that enumerates one format. `queried` is the format that was passed to
// GetData.
class EnumeratingObject : public SingleMediumObject {
public:
    EnumeratingObject(const FORMATETC& format, STGMEDIUM medium, HRESULT hr = S_OK)
        : SingleMediumObject(medium, hr), m_enumerator({format}) {
        onGetData = [this, answer = onGetData](const FORMATETC& requested, STGMEDIUM& received) {
            queried = requested;
            return answer(requested, received);
        };
        onEnumFormats = [this](IEnumFORMATETC** e) {
            return m_enumerator.QueryInterface(IID_IEnumFORMATETC, reinterpret_cast<void**>(e));
        };
    }
    FORMATETC queried{};

private:
    ForeignEnumerator m_enumerator;
};

TEST_CASE("CopyData requests and stores the format exactly as it was enumerated") {
    CountingStream stream;
    stream.AddRef();
    const FORMATETC offered{kPrivateFormat, nullptr, DVASPECT_ICON, 7, TYMED_ISTREAM | TYMED_GDI};
    EnumeratingObject source(offered, mediumOf(TYMED_ISTREAM, &stream));
    ForeignDataObject target;
    FORMATETC stored{};
    STGMEDIUM medium{};
    bool released = true;
    target.onSetData = [&](const FORMATETC& f, STGMEDIUM& m, bool r) {
        stored = f;
        medium = m;
        released = r;
        return HRESULT{3};
    };

    CHECK(CDataObject::CopyData(source, target, kPrivateFormat) == 3);

    for (const FORMATETC& format : {source.queried, stored}) {
        CHECK(format.cfFormat == kPrivateFormat);
        CHECK(format.dwAspect == DVASPECT_ICON);
        CHECK(format.lindex == 7);
        CHECK(format.tymed == (TYMED_ISTREAM | TYMED_GDI));
    }
    CHECK(medium.pstm == &stream);
    CHECK_FALSE(released);
    CHECK(stream.references() == 0);  // CopyData has released the medium
}

TEST_CASE("CopyData returns the source's error code if the source cannot enumerate formats") {
    ForeignDataObject source;
    const auto target = newDataObject();
    CHECK(CDataObject::CopyData(source, *target, CF_TEXT) == E_NOTIMPL);

    source.onEnumFormats = [](IEnumFORMATETC** enumerator) {
        *enumerator = reinterpret_cast<IEnumFORMATETC*>(8);
        return E_ACCESSDENIED;
    };
    CHECK(CDataObject::CopyData(source, *target, CF_TEXT) == E_ACCESSDENIED);

    source.onEnumFormats = [](IEnumFORMATETC**) { return S_OK; };
    CHECK(CDataObject::CopyData(source, *target, CF_TEXT) == E_FAIL);
}

TEST_CASE("CopyData returns the source's error code and releases nothing if GetData fails") {
    CountingStream stream;
    EnumeratingObject source(formatOf(CF_TEXT, TYMED_ISTREAM), mediumOf(TYMED_ISTREAM, &stream),
                             OLE_E_NOTRUNNING);
    const auto target = newDataObject();

    CHECK(CDataObject::CopyData(source, *target, CF_TEXT) == OLE_E_NOTRUNNING);

    CHECK(stream.references() == 0);
    CHECK(listOf(*target).empty());
}

TEST_CASE("CopyData returns the target's error code and releases the medium if SetData fails") {
    CountingStream stream;
    stream.AddRef();
    EnumeratingObject source(formatOf(CF_TEXT, TYMED_ISTREAM), mediumOf(TYMED_ISTREAM, &stream));
    ForeignDataObject target;
    target.onSetData = [](const FORMATETC&, STGMEDIUM& medium, bool) {
        medium = STGMEDIUM{};  // CopyData must still release the source's medium
        return STG_E_MEDIUMFULL;
    };

    CHECK(CDataObject::CopyData(source, target, CF_TEXT) == STG_E_MEDIUMFULL);

    CHECK(stream.references() == 0);
}

TEST_CASE("A format with a target device can be enumerated in the target of CopyData") {
    auto* const device = static_cast<DVTARGETDEVICE*>(CoTaskMemAlloc(sizeof(DVTARGETDEVICE)));
    *device = DVTARGETDEVICE{sizeof(DVTARGETDEVICE), 1, 2, 3, 4, {5}};
    CountingStream stream;
    stream.AddRef();
    FORMATETC format = formatOf(CF_TEXT, TYMED_ISTREAM);
    format.ptd = device;
    EnumeratingObject source(format, mediumOf(TYMED_ISTREAM, &stream));
    const auto target = newDataObject();

    REQUIRE(CDataObject::CopyData(source, *target, CF_TEXT) == S_OK);

    ATL::CComPtr<IEnumFORMATETC> enumerator;
    REQUIRE(target->EnumFormatEtc(DATADIR_GET, &enumerator) == S_OK);
    FORMATETC listed{};
    REQUIRE(enumerator->Next(1, &listed, nullptr) == S_OK);
    CHECK(listed.ptd->tdExtDevmodeOffset == 4);
    CoTaskMemFree(listed.ptd);
    CoTaskMemFree(device);  // the test owns the device; the object stores only a pointer to it
}

}  // namespace
