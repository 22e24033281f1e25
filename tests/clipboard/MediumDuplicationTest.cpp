#include <doctest/doctest.h>

#include <cstring>

#include "clipboard/CDataObject.h"
#include "tests/clipboard/StoredBlocks.h"
#include "tests/support/AllocationSpy.h"
#include "tests/support/Counting.h"
#include "tests/support/DataObjects.h"
#include "tests/support/FailingMemory.h"
#include "tests/support/ReplacedImport.h"

namespace {

using namespace testsupport;

class CountingStorage : public Counting<IStorage> {
public:
    STDMETHODIMP CreateStream(const OLECHAR*, DWORD, DWORD, DWORD, IStream**) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP OpenStream(const OLECHAR*, void*, DWORD, DWORD, IStream**) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP CreateStorage(const OLECHAR*, DWORD, DWORD, DWORD, IStorage**) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP OpenStorage(const OLECHAR*, IStorage*, DWORD, SNB, DWORD, IStorage**) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP CopyTo(DWORD, const IID*, SNB, IStorage*) override { return E_NOTIMPL; }
    STDMETHODIMP MoveElementTo(const OLECHAR*, IStorage*, const OLECHAR*, DWORD) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP Commit(DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP Revert() override { return E_NOTIMPL; }
    STDMETHODIMP EnumElements(DWORD, void*, DWORD, IEnumSTATSTG**) override { return E_NOTIMPL; }
    STDMETHODIMP DestroyElement(const OLECHAR*) override { return E_NOTIMPL; }
    STDMETHODIMP RenameElement(const OLECHAR*, const OLECHAR*) override { return E_NOTIMPL; }
    STDMETHODIMP SetElementTimes(const OLECHAR*, const FILETIME*, const FILETIME*,
                                 const FILETIME*) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP SetClass(REFCLSID) override { return E_NOTIMPL; }
    STDMETHODIMP SetStateBits(DWORD, DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP Stat(STATSTG*, DWORD) override { return E_NOTIMPL; }
};

// --- Ownership

TEST_CASE("SetData with release stores the block itself") {
    auto object = newDataObject();
    const HGLOBAL block = storeBlock(*object, kPrivateFormat, "abc");

    REQUIRE(isBlock(block));
    object.Release();

    CHECK_FALSE(isBlock(block));
}

TEST_CASE("SetData takes ownership of the medium for every release argument except FALSE") {
    for (const BOOL release : {TRUE, 2, -1, BOOL{0x100}}) {
        CAPTURE(release);
        CountingStream stream;
        stream.AddRef();
        {
            const auto object = newDataObject();
            REQUIRE(setData(*object, formatOf(CF_TEXT, TYMED_ISTREAM),
                            mediumOf(TYMED_ISTREAM, &stream), release) == S_OK);

            CHECK(stream.references() == 1);
        }
        CHECK(stream.references() == 0);
    }
}

TEST_CASE("SetData without release stores a duplicate and does not take ownership of the block") {
    const auto object = newDataObject();
    const HGLOBAL block = newBlock("abc");

    REQUIRE(setData(*object, formatOf(kPrivateFormat, TYMED_HGLOBAL),
                    mediumOf(TYMED_HGLOBAL, block), FALSE) == S_OK);
    CHECK(GlobalFree(block) == nullptr);

    CHECK(blockOf(*object, kPrivateFormat) == "abc");
}

TEST_CASE("GetData returns a duplicate of the block") {
    auto object = newDataObject();
    const HGLOBAL block = storeBlock(*object, kPrivateFormat, "abc");
    FORMATETC format = formatOf(kPrivateFormat, TYMED_HGLOBAL);
    ReceivedMedium medium;

    REQUIRE(object->GetData(&format, &medium) == S_OK);

    CHECK(medium.hGlobal != block);
    CHECK(medium.pUnkForRelease == nullptr);
    object.Release();
    CHECK(bytesOf(medium.hGlobal) == "abc");
}

TEST_CASE("SetData with release takes over the caller's reference to a stream") {
    CountingStream stream;
    {
        const auto object = newDataObject();
        stream.AddRef();

        REQUIRE(setData(*object, formatOf(CF_TEXT, TYMED_ISTREAM), mediumOf(TYMED_ISTREAM, &stream),
                        TRUE) == S_OK);

        CHECK(stream.references() == 1);
    }
    CHECK(stream.references() == 0);
}

TEST_CASE("SetData without release adds a reference to a stream") {
    CountingStream stream;
    stream.AddRef();
    {
        const auto object = newDataObject();

        REQUIRE(setData(*object, formatOf(CF_TEXT, TYMED_ISTREAM), mediumOf(TYMED_ISTREAM, &stream),
                        FALSE) == S_OK);

        CHECK(stream.references() == 2);
    }
    CHECK(stream.references() == 1);
}

TEST_CASE("GetData returns the stored stream or storage with one added reference") {
    const auto object = newDataObject();
    CountingStream stream;
    CountingStorage storage;
    stream.AddRef();
    storage.AddRef();
    REQUIRE(setData(*object, formatOf(CF_TEXT, TYMED_ISTREAM), mediumOf(TYMED_ISTREAM, &stream),
                    TRUE) == S_OK);
    REQUIRE(setData(*object, formatOf(CF_TEXT, TYMED_ISTORAGE), mediumOf(TYMED_ISTORAGE, &storage),
                    TRUE) == S_OK);
    {
        FORMATETC format = formatOf(CF_TEXT, TYMED_ISTREAM);
        ReceivedMedium streamMedium, storageMedium;

        REQUIRE(object->GetData(&format, &streamMedium) == S_OK);
        format.tymed = TYMED_ISTORAGE;
        REQUIRE(object->GetData(&format, &storageMedium) == S_OK);

        CHECK(streamMedium.pstm == &stream);
        CHECK(storageMedium.pstg == &storage);
        CHECK(stream.references() == 2);
        CHECK(storage.references() == 2);
    }
    CHECK(stream.references() == 1);
    CHECK(storage.references() == 1);
}

TEST_CASE("SetData with release takes over the caller's reference to pUnkForRelease") {
    CountingUnknown owner;
    const HGLOBAL block = newBlock("abc");
    {
        const auto object = newDataObject();
        owner.AddRef();

        REQUIRE(setData(*object, formatOf(kPrivateFormat, TYMED_HGLOBAL),
                        mediumOf(TYMED_HGLOBAL, block, &owner), TRUE) == S_OK);

        CHECK(owner.references() == 1);
    }
    CHECK(owner.references() == 0);
    CHECK(GlobalFree(block) == nullptr);  // ReleaseStgMedium has not freed the block
}

TEST_CASE("GetData shares pUnkForRelease and still duplicates the block") {
    CountingUnknown owner;
    const HGLOBAL block = newBlock("abc");
    HGLOBAL duplicate = nullptr;
    {
        const auto object = newDataObject();
        owner.AddRef();
        REQUIRE(setData(*object, formatOf(kPrivateFormat, TYMED_HGLOBAL),
                        mediumOf(TYMED_HGLOBAL, block, &owner), TRUE) == S_OK);
        FORMATETC format = formatOf(kPrivateFormat, TYMED_HGLOBAL);
        STGMEDIUM medium{};

        REQUIRE(object->GetData(&format, &medium) == S_OK);
        duplicate = medium.hGlobal;

        CHECK(medium.pUnkForRelease == &owner);
        CHECK(owner.references() == 2);
        CHECK(duplicate != block);
        CHECK(bytesOf(duplicate) == "abc");
        ReleaseStgMedium(&medium);
        CHECK(owner.references() == 1);
        CHECK(isBlock(duplicate));  // ReleaseStgMedium has not freed the block
    }
    CHECK(owner.references() == 0);
    GlobalFree(duplicate);
    GlobalFree(block);
}

TEST_CASE("SetData without release shares pUnkForRelease") {
    CountingUnknown owner;
    owner.AddRef();
    CountingStream stream;
    stream.AddRef();
    {
        const auto object = newDataObject();

        REQUIRE(setData(*object, formatOf(kPrivateFormat, TYMED_ISTREAM),
                        mediumOf(TYMED_ISTREAM, &stream, &owner), FALSE) == S_OK);

        CHECK(owner.references() == 2);
        CHECK(stream.references() == 2);
    }
    CHECK(owner.references() == 1);
    CHECK(stream.references() == 1);
}

TEST_CASE("A medium remains valid after its data object is destroyed") {
    CountingUnknown owner;
    owner.AddRef();
    CountingStream stream;
    stream.AddRef();
    auto object = newDataObject();
    REQUIRE(setData(*object, formatOf(kPrivateFormat, TYMED_ISTREAM),
                    mediumOf(TYMED_ISTREAM, &stream, &owner), TRUE) == S_OK);
    FORMATETC format = formatOf(kPrivateFormat, TYMED_ISTREAM);
    {
        ReceivedMedium medium;
        REQUIRE(object->GetData(&format, &medium) == S_OK);

        object.Release();

        CHECK(owner.references() == 1);
        CHECK(stream.references() == 1);
    }
    CHECK(owner.references() == 0);
    CHECK(stream.references() == 0);
}

// --- Duplicating media of each storage medium type

TEST_CASE("A bitmap in the CF_BITMAP format is duplicated") {
    const auto object = newDataObject();
    const HBITMAP bitmap = CreateBitmap(4, 3, 1, 32, nullptr);
    REQUIRE(setData(*object, formatOf(CF_BITMAP, TYMED_GDI), mediumOf(TYMED_GDI, bitmap), FALSE) ==
            S_OK);
    CHECK(DeleteObject(bitmap));
    FORMATETC format = formatOf(CF_BITMAP, TYMED_GDI);
    ReceivedMedium medium;

    REQUIRE(object->GetData(&format, &medium) == S_OK);

    BITMAP description{};
    CHECK(medium.tymed == TYMED_GDI);
    CHECK(GetObjectW(medium.hBitmap, sizeof description, &description) != 0);
    CHECK(description.bmWidth == 4);
    CHECK(description.bmHeight == 3);
}

TEST_CASE("A bitmap in a format other than CF_BITMAP is returned as a medium without a handle") {
    const auto object = newDataObject();
    REQUIRE(setData(*object, formatOf(kPrivateFormat, TYMED_GDI),
                    mediumOf(TYMED_GDI, CreateBitmap(4, 3, 1, 32, nullptr)), TRUE) == S_OK);
    FORMATETC format = formatOf(kPrivateFormat, TYMED_GDI);
    ReceivedMedium medium;

    CHECK(object->GetData(&format, &medium) == S_OK);

    CHECK(medium.tymed == TYMED_GDI);
    CHECK(medium.hBitmap == nullptr);
}

TEST_CASE("An enhanced metafile is duplicated") {
    const auto object = newDataObject();
    const HDC device = CreateEnhMetaFileW(nullptr, nullptr, nullptr, nullptr);
    Rectangle(device, 0, 0, 10, 10);
    const HENHMETAFILE metafile = CloseEnhMetaFile(device);
    REQUIRE(setData(*object, formatOf(CF_ENHMETAFILE, TYMED_ENHMF), mediumOf(TYMED_ENHMF, metafile),
                    TRUE) == S_OK);
    FORMATETC format = formatOf(CF_ENHMETAFILE, TYMED_ENHMF);
    ReceivedMedium medium;

    REQUIRE(object->GetData(&format, &medium) == S_OK);

    CHECK(medium.hEnhMetaFile != metafile);
    CHECK(GetEnhMetaFileBits(medium.hEnhMetaFile, 0, nullptr) ==
          GetEnhMetaFileBits(metafile, 0, nullptr));
}

// Skipped under Wine. OleDuplicateData is documented to accept the handle of a block that contains
// a METAFILEPICT structure, but Wine's implementation expects the handle of the metafile.
TEST_CASE("A metafile picture is duplicated with its metafile" * doctest::skip(underWine())) {
    const auto object = newDataObject();
    const HDC device = CreateMetaFileW(nullptr);
    Rectangle(device, 0, 0, 10, 10);
    METAFILEPICT picture{MM_ANISOTROPIC, 100, 50, CloseMetaFile(device)};
    const HGLOBAL block = newBlock({reinterpret_cast<const char*>(&picture), sizeof picture});
    REQUIRE(setData(*object, formatOf(CF_METAFILEPICT, TYMED_MFPICT), mediumOf(TYMED_MFPICT, block),
                    TRUE) == S_OK);
    FORMATETC format = formatOf(CF_METAFILEPICT, TYMED_MFPICT);
    ReceivedMedium medium;

    REQUIRE(object->GetData(&format, &medium) == S_OK);

    REQUIRE(medium.hMetaFilePict != nullptr);
    METAFILEPICT copy{};
    std::memcpy(&copy, bytesOf(medium.hMetaFilePict).data(), sizeof copy);
    CHECK(copy.xExt == 100);
    CHECK(copy.hMF != picture.hMF);
    CHECK(GetMetaFileBitsEx(copy.hMF, 0, nullptr) == GetMetaFileBitsEx(picture.hMF, 0, nullptr));
}

TEST_CASE("A medium of an unknown storage type is returned without a handle") {
    constexpr DWORD kUnknownType = 128;
    const auto object = newDataObject();
    int handle = 0;
    REQUIRE(setData(*object, formatOf(kPrivateFormat, kUnknownType),
                    mediumOf(kUnknownType, &handle), TRUE) == S_OK);
    FORMATETC format = formatOf(kPrivateFormat, kUnknownType);
    STGMEDIUM medium{};

    CHECK(object->GetData(&format, &medium) == S_OK);

    CHECK(medium.tymed == kUnknownType);
    CHECK(medium.hGlobal == nullptr);
}

TEST_CASE("GetData returns a medium without a handle for an empty block") {
    const auto object = newDataObject();
    const HGLOBAL block = newBlock("");
    REQUIRE(setData(*object, formatOf(kPrivateFormat, TYMED_HGLOBAL),
                    mediumOf(TYMED_HGLOBAL, block), TRUE) == S_OK);
    FORMATETC format = formatOf(kPrivateFormat, TYMED_HGLOBAL);
    ReceivedMedium medium;

    CHECK(object->GetData(&format, &medium) == S_OK);

    CHECK(medium.tymed == TYMED_HGLOBAL);
    CHECK(medium.hGlobal == nullptr);
}

// --- Out of memory

HGLOBAL WINAPI refuseToDuplicate(HANDLE, CLIPFORMAT, UINT) { return nullptr; }

TEST_CASE("GetData returns E_OUTOFMEMORY for a block that cannot be duplicated") {
    const auto object = newDataObject();
    storeBlock(*object, kPrivateFormat, "abc");
    FORMATETC format = formatOf(kPrivateFormat, TYMED_HGLOBAL);
    STGMEDIUM medium{};

    const ReplacedImport noDuplication("OleDuplicateData", &refuseToDuplicate);
    CHECK(object->GetData(&format, &medium) == E_OUTOFMEMORY);

    CHECK(medium.tymed == TYMED_NULL);
}

TEST_CASE("GetData returns no handle for a block instead of a GDI object") {
    const CLIPFORMAT formats[] = {CF_BITMAP, CF_PALETTE, CF_METAFILEPICT, CF_ENHMETAFILE};
    for (const CLIPFORMAT cf : formats) {
        CAPTURE(cf);
        const auto object = newDataObject();
        storeBlock(*object, cf, "abc");
        FORMATETC format = formatOf(cf, TYMED_HGLOBAL);
        STGMEDIUM medium{};

        const ReplacedImport noDuplication("OleDuplicateData", &refuseToDuplicate);
        CHECK(object->GetData(&format, &medium) == S_OK);

        CHECK(medium.tymed == TYMED_HGLOBAL);
        CHECK(medium.hGlobal == nullptr);
    }
}

TEST_CASE("SetData without release keeps the old entry if it cannot duplicate the medium") {
    const auto object = newDataObject();
    storeBlock(*object, kPrivateFormat, "old");
    const HGLOBAL block = newBlock("new");
    {
        const ReplacedImport noDuplication("OleDuplicateData", &refuseToDuplicate);
        CHECK(setData(*object, formatOf(kPrivateFormat, TYMED_HGLOBAL),
                      mediumOf(TYMED_HGLOBAL, block), FALSE) == E_OUTOFMEMORY);
    }
    CHECK(blockOf(*object, kPrivateFormat) == "old");
    CHECK(GlobalFree(block) == nullptr);
}

TEST_CASE("SetData changes nothing and takes no ownership when memory runs out") {
    for (const BOOL release : {TRUE, FALSE}) {
        CAPTURE(release);
        bool failed = true;
        for (long n = 1; failed; ++n) {
            CAPTURE(n);
            const auto object = newDataObject();
            storeBlock(*object, CF_TEXT, "abc");
            CountingStream stream;
            stream.AddRef();
            failNth(n);
            const HRESULT hr = resultOf([&] {
                return setData(*object, formatOf(kPrivateFormat, TYMED_ISTREAM),
                               mediumOf(TYMED_ISTREAM, &stream), release);
            });
            failed = failureFired();
            failNth(0);

            CHECK(hr == (failed ? E_OUTOFMEMORY : S_OK));
            if (failed) CHECK(stream.references() == 1);
            CHECK(formatsOf(*object).size() == (failed ? 1 : 2));
        }
    }
}

TEST_CASE("EnumFormatEtc and Clone return E_OUTOFMEMORY when memory runs out") {
    const auto object = newDataObject();
    storeBlock(*object, CF_TEXT, "abc");
    ATL::CComPtr<IEnumFORMATETC> original;
    REQUIRE(object->EnumFormatEtc(DATADIR_GET, &original) == S_OK);
    bool failed = true;
    for (long n = 1; failed; ++n) {
        CAPTURE(n);
        ATL::CComPtr<IEnumFORMATETC> enumerator;
        failNth(n);
        const HRESULT hr = object->EnumFormatEtc(DATADIR_GET, &enumerator);
        failed = failureFired();
        CHECK(hr == (failed ? E_OUTOFMEMORY : S_OK));
        CHECK((enumerator == nullptr) == failed);

        ATL::CComPtr<IEnumFORMATETC> clone;
        failNth(n);
        CHECK(original->Clone(&clone) == (failed ? E_OUTOFMEMORY : S_OK));
        failNth(0);
        CHECK((clone == nullptr) == failed);
    }
}

}  // namespace
