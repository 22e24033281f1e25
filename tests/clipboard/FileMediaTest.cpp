#include <doctest/doctest.h>
#include <windows.h>

#include <ole2.h>

#include <cstring>
#include <string>
#include <vector>

#include "clipboard/CDataObject.h"
#include "clipboard/CDataObjectEntry.h"
#include "tests/support/AllocationSpy.h"
#include "tests/support/Counting.h"
#include "tests/support/DataObjects.h"
#include "tests/support/ReplacedImport.h"

namespace {

using namespace testsupport;

constexpr FORMATETC kFile = {kPrivateFormat, nullptr, DVASPECT_CONTENT, -1, TYMED_FILE};

LPOLESTR newName(const std::wstring& name) {
    const SIZE_T byteCount = (name.size() + 1) * sizeof(wchar_t);
    return static_cast<LPOLESTR>(std::memcpy(CoTaskMemAlloc(byteCount), name.c_str(), byteCount));
}

HRESULT setFile(IDataObject& object, LPOLESTR name, BOOL release, IUnknown* owner = nullptr) {
    FORMATETC format = kFile;
    STGMEDIUM medium = mediumOf(TYMED_FILE, name, owner);
    return object.SetData(&format, &medium, release);
}

HRESULT getFile(IDataObject& object, STGMEDIUM& medium) {
    FORMATETC format = kFile;
    return object.GetData(&format, &medium);
}

// Creates an empty temporary file, and deletes the file at the end of the scope.
class TemporaryFile {
public:
    TemporaryFile() {
        wchar_t folder[MAX_PATH], path[MAX_PATH];
        GetTempPathW(MAX_PATH, folder);
        REQUIRE(GetTempFileNameW(folder, L"i18", 0, path) != 0);
        m_path = path;
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile() { DeleteFileW(m_path.c_str()); }

    const std::wstring& path() const { return m_path; }
    bool exists() const { return GetFileAttributesW(m_path.c_str()) != INVALID_FILE_ATTRIBUTES; }

private:
    std::wstring m_path;
};

std::vector<void*> g_taskBlocks;  // the blocks that the library allocated with CoTaskMemAlloc

LPVOID WINAPI recordTaskBlock(SIZE_T byteCount) {
    g_taskBlocks.push_back(::CoTaskMemAlloc(byteCount));
    return g_taskBlocks.back();
}

TEST_CASE("GetData copies a file name to memory from CoTaskMemAlloc") {
    const auto object = newDataObject();
    CountingUnknown owner;  // prevents ReleaseStgMedium from deleting the file
    owner.AddRef();
    const LPOLESTR name = newName(L"Z:\\nowhere\\report.xml");
    REQUIRE(setFile(*object, name, TRUE, &owner) == S_OK);
    ReceivedMedium medium;

    g_taskBlocks.clear();
    const ReplacedImport allocation("CoTaskMemAlloc", &recordTaskBlock);
    REQUIRE(getFile(*object, medium) == S_OK);

    CHECK(medium.tymed == TYMED_FILE);
    REQUIRE(medium.lpszFileName != nullptr);
    CHECK(medium.lpszFileName != name);
    CHECK(std::wstring(medium.lpszFileName) == L"Z:\\nowhere\\report.xml");
    CHECK(g_taskBlocks == std::vector<void*>{medium.lpszFileName});
}

TEST_CASE("SetData without release copies a file name from any memory") {
    wchar_t name[] = L"Z:\\nowhere\\report.xml";  // not heap memory
    CountingUnknown owner;
    {
        const auto object = newDataObject();

        CHECK(setFile(*object, name, FALSE, &owner) == S_OK);

        ReceivedMedium medium;
        REQUIRE(getFile(*object, medium) == S_OK);
        REQUIRE(medium.lpszFileName != nullptr);
        CHECK(std::wstring(medium.lpszFileName) == name);
    }
    CHECK(owner.references() == 0);
}

TEST_CASE("Releasing the copy of a file medium without pUnkForRelease deletes the file") {
    const TemporaryFile file;
    const auto object = newDataObject();
    REQUIRE(setFile(*object, newName(file.path()), TRUE) == S_OK);
    STGMEDIUM medium{};
    REQUIRE(getFile(*object, medium) == S_OK);
    REQUIRE(file.exists());

    ReleaseStgMedium(&medium);

    CHECK_FALSE(file.exists());
}

TEST_CASE("Releasing the copy of a file medium with pUnkForRelease does not delete the file") {
    const TemporaryFile file;
    CountingUnknown owner;
    owner.AddRef();
    {
        const auto object = newDataObject();
        REQUIRE(setFile(*object, newName(file.path()), TRUE, &owner) == S_OK);
        STGMEDIUM medium{};
        REQUIRE(getFile(*object, medium) == S_OK);

        ReleaseStgMedium(&medium);
        CHECK(file.exists());
    }
    CHECK(file.exists());
    CHECK(owner.references() == 0);
}

TEST_CASE("A data object deletes the file of its file medium when it is destroyed") {
    const TemporaryFile file;
    std::wstring name = file.path();
    {
        const auto object = newDataObject();
        REQUIRE(setFile(*object, name.data(), FALSE) == S_OK);
        CHECK(file.exists());
    }
    CHECK_FALSE(file.exists());
}

TEST_CASE("CopyData deletes the file of a medium only if the medium has no pUnkForRelease") {
    for (const bool owned : {false, true}) {
        CAPTURE(owned);
        const TemporaryFile file;
        CountingUnknown owner;
        std::wstring name = file.path();
        {
            const auto source = newDataObject(), target = newDataObject();
            REQUIRE(setFile(*source, name.data(), FALSE, owned ? &owner : nullptr) == S_OK);

            CHECK(CDataObject::CopyData(*source, *target, kPrivateFormat) == S_OK);

            CHECK(file.exists() == owned);
            ReceivedMedium medium;
            REQUIRE(getFile(*target, medium) == S_OK);
            CHECK(medium.lpszFileName == name);
        }
        CHECK(owner.references() == 0);
    }
}

TEST_CASE("A file medium whose name cannot be copied is rejected") {
    wchar_t name[] = L"Z:\\nowhere\\report.xml";
    const auto object = newDataObject();
    CountingUnknown owner;
    owner.AddRef();
    REQUIRE(setFile(*object, newName(name), TRUE, &owner) == S_OK);
    STGMEDIUM medium{};

    failNth(1);
    CHECK(getFile(*object, medium) == E_OUTOFMEMORY);
    failNth(0);

    CHECK(medium.tymed == TYMED_NULL);
    CHECK(owner.references() == 1);
}

TEST_CASE("Copying file media with pUnkForRelease leaks no memory") {
    const auto object = newDataObject();
    CountingUnknown owner;
    wchar_t name[] = L"Z:\\nowhere\\report.xml";
    REQUIRE(setFile(*object, name, FALSE, &owner) == S_OK);

    CHECK(blocksLeftBy([&object] {
              ReceivedMedium medium;
              CHECK(getFile(*object, medium) == S_OK);
          }) == 0);
}

TEST_CASE("An entry with a medium without a handle returns media without a handle") {
    for (const DWORD tymed : {TYMED_HGLOBAL, TYMED_FILE, TYMED_ISTREAM, TYMED_ISTORAGE, TYMED_GDI,
                              TYMED_MFPICT, TYMED_ENHMF}) {
        CAPTURE(tymed);
        ATL::CComPtr<CDataObjectEntry> entry;
        REQUIRE(CDataObjectEntry::CreateInstance(formatOf(kPrivateFormat, tymed),
                                                 mediumOf(tymed, nullptr), false, &entry) == S_OK);
        ReceivedMedium medium;

        CHECK(entry->copyMedium(medium) == S_OK);

        CHECK(medium.tymed == tymed);
        CHECK(medium.hGlobal == nullptr);
    }
}

}  // namespace
