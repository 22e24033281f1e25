#include <doctest/doctest.h>

#include <string>
#include <utility>
#include <vector>

#include "clipboard/CDataObject.h"
#include "tests/support/Counting.h"
#include "tests/support/DataObjects.h"
#include "tests/support/ForeignDataObject.h"

namespace {

using namespace testsupport;
using Formats = std::vector<std::pair<int, int>>;

// --- Formats

TEST_CASE("The format templates set one storage type and default values") {
    struct {
        FORMATETC (*make)(unsigned long);
        DWORD tymed;
    } const rows[] = {{&CDataObject::formatHGlobal, 1},
                      {&CDataObject::formatIStream, 4},
                      {&CDataObject::formatGdi, 16}};
    for (const auto& row : rows) {
        CAPTURE(row.tymed);
        const FORMATETC format = row.make(0x0001C123);
        CHECK(format.cfFormat == 0xC123);
        CHECK(format.ptd == nullptr);
        CHECK(format.dwAspect == 1);
        CHECK(format.lindex == -1);
        CHECK(format.tymed == row.tymed);
    }
}

TEST_CASE(
    "The Accept functions for one storage type query one format and return the data object's "
    "result") {
    using Accept = HRESULT (*)(IDataObject&, unsigned long);
    struct {
        const char* label;
        Accept accept;
        DWORD tymed;
    } const rows[] = {
        {"text", &CDataObject::AcceptTextData, TYMED_HGLOBAL},
        {"block", &CDataObject::AcceptHGLOBALData, TYMED_HGLOBAL},
        {"device-independent bitmap", &CDataObject::AcceptHDIBData, TYMED_HGLOBAL},
        {"interface", &CDataObject::AcceptIUnknownData, TYMED_HGLOBAL},
        {"bitmap", &CDataObject::AcceptHBITMAPData, TYMED_GDI},
    };
    for (const auto& row : rows) {
        CAPTURE(row.label);
        ForeignDataObject object;
        FORMATETC queried{};
        HRESULT answer = S_OK;
        object.onQueryGetData = [&queried, &answer](const FORMATETC& format) {
            queried = format;
            return answer;
        };

        CHECK(row.accept(object, kPrivateFormat) == S_OK);
        answer = S_FALSE;
        CHECK(row.accept(object, kPrivateFormat) == S_FALSE);
        answer = DV_E_TYMED;
        CHECK(row.accept(object, kPrivateFormat) == DV_E_TYMED);

        CHECK(queried.cfFormat == kPrivateFormat);
        CHECK(queried.ptd == nullptr);
        CHECK(queried.dwAspect == DVASPECT_CONTENT);
        CHECK(queried.lindex == -1);
        CHECK(queried.tymed == row.tymed);
    }
}

// --- Global memory blocks and device-independent bitmaps

using SetHandle = HRESULT (*)(IDataObject&, unsigned long, void*, int);
using QueryHandle = HRESULT (*)(const IDataObject&, unsigned long, void**);
struct HandleFunctions {
    const char* label;
    SetHandle set;
    QueryHandle query;
};
const HandleFunctions kHandleFunctions[] = {
    {"block", &CDataObject::SetHGLOBALData, &CDataObject::QueryHGLOBALData},
    {"device-independent bitmap", &CDataObject::SetHDIBData, &CDataObject::QueryHDIBData},
};

TEST_CASE("A stored block is read as a duplicate that the caller owns") {
    for (const auto& functions : kHandleFunctions) {
        CAPTURE(functions.label);
        auto object = newDataObject();
        const HGLOBAL block = newBlock("abc");
        void* received = nullptr;

        CHECK(functions.set(*object, kPrivateFormat, block, TRUE) == S_OK);
        CHECK(functions.query(*object, kPrivateFormat, &received) == S_OK);

        CHECK(received != block);
        object.Release();
        CHECK(bytesOf(received) == "abc");
        CHECK(GlobalFree(received) == nullptr);
    }
}

TEST_CASE("The caller still owns a block that is stored without release") {
    for (const auto& functions : kHandleFunctions) {
        CAPTURE(functions.label);
        const auto object = newDataObject();
        const HGLOBAL block = newBlock("abc");

        CHECK(functions.set(*object, kPrivateFormat, block, FALSE) == S_OK);

        CHECK(GlobalFree(block) == nullptr);
        CHECK(blockOf(*object, kPrivateFormat) == "abc");
    }
}

TEST_CASE("A block and the caller's release argument are passed to the data object unchanged") {
    for (const auto& functions : kHandleFunctions) {
        for (const BOOL release : {TRUE, FALSE}) {
            CAPTURE(functions.label);
            CAPTURE(release);
            const HGLOBAL block = newBlock("abc");
            ForeignDataObject object;
            STGMEDIUM offered{};
            FORMATETC format{};
            bool released = !release;
            object.onSetData = [&](const FORMATETC& f, STGMEDIUM& medium, bool r) {
                format = f;
                offered = medium;
                released = r;
                return E_NOTIMPL;
            };

            CHECK(functions.set(object, kPrivateFormat, block, release) == E_NOTIMPL);

            CHECK(format.cfFormat == kPrivateFormat);
            CHECK(format.tymed == TYMED_HGLOBAL);
            CHECK(offered.tymed == TYMED_HGLOBAL);
            CHECK(offered.hGlobal == block);
            CHECK(offered.pUnkForRelease == nullptr);
            CHECK(released == (release != FALSE));
            CHECK(GlobalFree(block) == nullptr);  // not stored, so the caller still owns the block
        }
    }
}

TEST_CASE("A null block and a null output pointer for a block are rejected") {
    for (const auto& functions : kHandleFunctions) {
        CAPTURE(functions.label);
        const auto object = newDataObject();
        CHECK(functions.set(*object, kPrivateFormat, nullptr, TRUE) == E_INVALIDARG);
        CHECK(functions.query(*object, kPrivateFormat, nullptr) == E_POINTER);
        CHECK(listOf(*object).empty());
    }
}

TEST_CASE("QueryHGLOBALData and QueryHDIBData return a null handle if the block is not stored") {
    for (const auto& functions : kHandleFunctions) {
        CAPTURE(functions.label);
        int garbage = 0;
        void* received = &garbage;
        CHECK(functions.query(*newDataObject(), kPrivateFormat, &received) == DV_E_CLIPFORMAT);
        CHECK(received == nullptr);
    }
}

TEST_CASE("QueryHGLOBALData releases the medium") {
    const auto object = newDataObject();
    REQUIRE(setBlock(*object, kPrivateFormat, "abc") == S_OK);

    CHECK(blocksLeftBy([&object] {
              void* received = nullptr;
              CHECK(CDataObject::QueryHGLOBALData(*object, kPrivateFormat, &received) == S_OK);
              GlobalFree(received);
          }) == 0);
}

// --- Bitmaps

SIZE sizeOf(HBITMAP bitmap) {
    BITMAP description{};
    GetObjectW(bitmap, sizeof description, &description);
    return {description.bmWidth, description.bmHeight};
}

TEST_CASE("A stored bitmap is read as a copy that the caller owns") {
    auto object = newDataObject();
    const HBITMAP bitmap = CreateBitmap(4, 3, 1, 32, nullptr);
    HBITMAP received = nullptr;

    CHECK(CDataObject::SetHBITMAPData(*object, CF_BITMAP, bitmap, TRUE) == S_OK);
    CHECK(CDataObject::QueryHBITMAPData(*object, CF_BITMAP, &received) == S_OK);

    CHECK(received != bitmap);
    object.Release();
    CHECK(sizeOf(bitmap).cx == 0);  // freed by the object
    CHECK(sizeOf(received).cx == 4);
    CHECK(sizeOf(received).cy == 3);
    CHECK(DeleteObject(received));
}

TEST_CASE("QueryHBITMAPData returns a copy even if the data object keeps its bitmap") {
    const HBITMAP bitmap = CreateBitmap(4, 3, 1, 32, nullptr);
    CountingUnknown owner;
    owner.AddRef();
    const SingleMediumObject object(mediumOf(TYMED_GDI, bitmap, &owner));
    HBITMAP received = nullptr;

    CHECK(CDataObject::QueryHBITMAPData(object, CF_BITMAP, &received) == S_OK);

    CHECK(received != bitmap);
    CHECK(owner.references() == 0);
    CHECK(DeleteObject(received));
    CHECK(DeleteObject(bitmap));
}

TEST_CASE("The caller still owns a bitmap that is stored without release") {
    const auto object = newDataObject();
    const HBITMAP bitmap = CreateBitmap(4, 3, 1, 32, nullptr);

    CHECK(CDataObject::SetHBITMAPData(*object, CF_BITMAP, bitmap, FALSE) == S_OK);

    CHECK(DeleteObject(bitmap));
    HBITMAP received = nullptr;
    CHECK(CDataObject::QueryHBITMAPData(*object, CF_BITMAP, &received) == S_OK);
    CHECK(sizeOf(received).cx == 4);
    CHECK(DeleteObject(received));
}

TEST_CASE("A bitmap in a format other than CF_BITMAP cannot be read") {
    const auto object = newDataObject();
    REQUIRE(CDataObject::SetHBITMAPData(*object, kPrivateFormat, CreateBitmap(4, 3, 1, 32, nullptr),
                                        TRUE) == S_OK);
    HBITMAP received = nullptr;

    CHECK(CDataObject::AcceptHBITMAPData(*object, kPrivateFormat) == S_OK);
    CHECK(CDataObject::QueryHBITMAPData(*object, kPrivateFormat, &received) == E_INVALIDARG);

    CHECK(received == nullptr);
}

TEST_CASE("A null bitmap and a null output pointer for a bitmap are rejected") {
    const auto object = newDataObject();

    CHECK(CDataObject::SetHBITMAPData(*object, CF_BITMAP, nullptr, TRUE) == E_INVALIDARG);
    CHECK(CDataObject::QueryHBITMAPData(*object, CF_BITMAP, nullptr) == E_POINTER);

    CHECK(listOf(*object).empty());
}

TEST_CASE("The caller still owns a bitmap that the data object rejects") {
    const HBITMAP bitmap = CreateBitmap(4, 3, 1, 32, nullptr);
    ForeignDataObject refusing;

    CHECK(CDataObject::SetHBITMAPData(refusing, CF_BITMAP, bitmap, TRUE) == E_NOTIMPL);

    CHECK(DeleteObject(bitmap));
}

}  // namespace
