// Calls the methods of data objects and the payload functions repeatedly, and makes a different
// allocation fail each time. A function whose allocation fails must report the failure as described
// in docs/failures.md, leave the object unchanged, and leak no block, reference or lock. After each
// failure, the same call must succeed if no allocation fails.
#include <windows.h>

#include <doctest/doctest.h>
#include <ole2.h>

#include <memory>
#include <string>

#include "clipboard/CDataObject.h"
#include "clipboard/CDataObjectEntry.h"
#include "clipboard/CEnumFORMATETC.h"
#include "tests/support/Counting.h"
#include "tests/support/DataObjects.h"
#include "tests/support/Documents.h"
#include "tests/support/FailingMemory.h"
#include "tests/support/LeakListener.h"
#include "tests/support/OleApartment.h"

namespace {

using namespace testsupport;
using Object = ATL::CComPtr<IDataObject>;

const std::string kText(300, 'x');
const std::wstring kWide(300, L'x');

// Calls functions that acquire the locks of the clipboard classes. The tests call this function on
// another thread to check that no lock is still held. Reading a block acquires the lock for
// interface payloads.
void useClipboardLocks() {
    const Object object = newDataObject();
    CHECK(setBlock(*object, kPrivateFormat, "abc") == S_OK);
    CHECK(blockOf(*object, kPrivateFormat) == "abc");
    CDataObject::BeginCopyProcess();
    CDataObject::EndCopyProcess();
}

// Creates FailingCall objects for functions that store data. Each call stores its data in a new
// data object. If the call fails, the object must have fewer formats than after a successful call.
class StoringCalls {
public:
    template <class Store>
    FailingCall create(const char* name, unsigned outcomes, int formats, Store store) {
        return {
            name, outcomes, [this, store] { return store(*m_object); },
            [this] { m_object = newDataObject(); },
            [this, formats](unsigned) { CHECK(CDataObject::GetDataCount(*m_object) < formats); }};
    }

private:
    Object m_object = newDataObject();
};

HBITMAP newBitmap() { return ::CreateBitmap(2, 2, 1, 1, nullptr); }

// A target device with data after its DVTARGETDEVICE structure.
struct Device {
    DVTARGETDEVICE head;
    char tail[16];
};

TEST_CASE("A data object keeps its contents when memory runs out") {
    const OleApartment ole;
    const Object object = newDataObject();
    REQUIRE(setBlock(*object, CF_TEXT, "abc") == S_OK);
    REQUIRE(setBlock(*object, kOtherFormat, kText) == S_OK);
    FORMATETC other = formatOf(kOtherFormat, TYMED_HGLOBAL);
    const auto isAsBefore = [&](unsigned) {
        CHECK(blockOf(*object, CF_TEXT) == "abc");
        CHECK(blockOf(*object, kOtherFormat) == kText);
        CHECK(CDataObject::GetDataCount(*object) == 2);
    };
    const auto set = [&](BOOL release) {
        FORMATETC format = formatOf(CF_TEXT, TYMED_HGLOBAL);
        STGMEDIUM medium = mediumOf(TYMED_HGLOBAL, newBlock("abc"));
        HRESULT hr = E_FAIL;
        try {
            hr = object->SetData(&format, &medium, release);
        } catch (const std::bad_alloc&) {
            ReleaseStgMedium(&medium);  // the caller still owns the medium
            throw;
        }
        if (FAILED(hr) || !release) ReleaseStgMedium(&medium);
        return hr;
    };
    Object copy;
    ATL::CComPtr<IEnumFORMATETC> enumerator;
    REQUIRE(object->EnumFormatEtc(DATADIR_GET, &enumerator) == S_OK);
    everyAllocationFails(
        {
            {"CreateInstance", kReturnsFailure,
             [] {
                 Object created;
                 return CDataObject::CreateInstance(&created);
             }},
            {"SetData that takes over", kThrowsBadAlloc | kReturnsNoMemory,
             [&] { return set(TRUE); }, nullptr, isAsBefore},
            {"SetData that copies", kThrowsBadAlloc | kReturnsNoMemory, [&] { return set(FALSE); },
             nullptr, isAsBefore},
            {"GetData", kReturnsNoMemory,
             [&] {
                 ReceivedMedium medium;
                 const HRESULT hr = object->GetData(&other, &medium);
                 CHECK((medium.hGlobal != nullptr) == (hr == S_OK));
                 return hr;
             }},
            {"EnumFormatEtc", kReturnsNoMemory,
             [&] {
                 ATL::CComPtr<IEnumFORMATETC> created;
                 return object->EnumFormatEtc(DATADIR_GET, &created);
             }},
            {"Clone", kReturnsNoMemory,
             [&] {
                 ATL::CComPtr<IEnumFORMATETC> clone;
                 return enumerator->Clone(&clone);
             }},
            {"Next without target devices", 0,
             [&] {
                 FORMATETC format{};
                 return enumerator->Next(1, &format, nullptr);
             },
             [&] { enumerator->Reset(); }},
            {"QueryGetData", 0, [&] { return object->QueryGetData(&other); }},
            {"GetDataCount", kReturnsFailure,
             [&] { return failureUnless(CDataObject::GetDataCount(*object) == 2); }},
            {"CDataObjectEntry::CreateInstance", kReturnsNoMemory,
             [&] {
                 STGMEDIUM medium = mediumOf(TYMED_HGLOBAL, newBlock("abc"));
                 CDataObjectEntry* entry = nullptr;
                 const HRESULT hr = CDataObjectEntry::CreateInstance(other, medium, false, &entry);
                 if (entry) entry->Release();
                 ReleaseStgMedium(&medium);
                 return hr;
             }},
            {"CopyData", kThrowsBadAlloc | kReturnsNoMemory,
             [&] { return CDataObject::CopyData(*object, *copy, kOtherFormat); },
             [&] { copy = newDataObject(); },
             [&](unsigned) { CHECK(CDataObject::GetDataCount(*copy) == 0); }},
        },
        useClipboardLocks);
}

TEST_CASE("Next keeps its position when memory for target devices runs out") {
    Device device{{sizeof(Device), 0, 0, 0, 0, {0}}, {}};
    const Object object = newDataObject();
    FORMATETC format = formatOf(CF_TEXT, TYMED_HGLOBAL);
    format.ptd = &device.head;
    STGMEDIUM medium = mediumOf(TYMED_HGLOBAL, newBlock("abc"));
    REQUIRE(object->SetData(&format, &medium, TRUE) == S_OK);
    ATL::CComPtr<IEnumFORMATETC> enumerator;
    REQUIRE(object->EnumFormatEtc(DATADIR_GET, &enumerator) == S_OK);
    everyAllocationFails({{"Next", kReturnsNoMemory,
                           [&] {
                               FORMATETC next{};
                               const HRESULT hr = enumerator->Next(1, &next, nullptr);
                               ::CoTaskMemFree(next.ptd);
                               return hr;
                           },
                           [&] { enumerator->Reset(); }}});
    // Compatibility: the enumerator never frees its own copy of the target device. This leak is
    // expected.
    ignoreLeaks();
}

// Each call uses a new data object, because an object creates its advise holder only once.
TEST_CASE("DAdvise returns E_OUTOFMEMORY when memory runs out, and the next DAdvise succeeds") {
    const OleApartment ole;
    class Sink : public Counting<IAdviseSink> {
    public:
        STDMETHODIMP_(void) OnDataChange(FORMATETC*, STGMEDIUM*) override {}
        STDMETHODIMP_(void) OnViewChange(DWORD, LONG) override {}
        STDMETHODIMP_(void) OnRename(IMoniker*) override {}
        STDMETHODIMP_(void) OnSave() override {}
        STDMETHODIMP_(void) OnClose() override {}
    } sink;
    Object object;
    everyAllocationFails({{"DAdvise", kReturnsNoMemory,
                           [&] {
                               FORMATETC format = formatOf(CF_TEXT, TYMED_HGLOBAL);
                               DWORD connection = 0;
                               return object->DAdvise(&format, 0, &sink, &connection);
                           },
                           [&] {
                               object = newDataObject();
                               setBlock(*object, CF_TEXT, "abc");
                           }}});
    object.Release();
    CHECK(sink.references() == 0);
}

TEST_CASE("Text is stored and read completely or not at all when memory runs out") {
    const OleApartment ole;
    StoringCalls storingCalls;
    const Object source = newDataObject();
    REQUIRE(CDataObject::SetCFUnicodeTextData(*source, kWide.c_str(), -1) == S_OK);
    everyAllocationFails(
        {
            storingCalls.create("SetTextData", kThrowsBadAlloc | kReturnsNoMemory, 1,
                                [](IDataObject& object) {
                                    return CDataObject::SetTextData(object, kPrivateFormat,
                                                                    kText.c_str(), -1);
                                }),
            storingCalls.create("SetTextData of wide text", kThrowsBadAlloc | kReturnsNoMemory, 1,
                                [](IDataObject& object) {
                                    return CDataObject::SetTextData(object, kPrivateFormat,
                                                                    kWide.c_str(), -1);
                                }),
            storingCalls.create("SetCFTextData", kThrowsBadAlloc | kReturnsNoMemory, 2,
                                [](IDataObject& object) {
                                    return CDataObject::SetCFTextData(object, kText.c_str(), -1);
                                }),
            storingCalls.create("SetCFUnicodeTextData", kThrowsBadAlloc | kReturnsNoMemory, 2,
                                [](IDataObject& object) {
                                    return CDataObject::SetCFUnicodeTextData(object, kWide.c_str(),
                                                                             -1);
                                }),
            {"QueryTextData", kThrowsBadAlloc | kReturnsNoMemory,
             [&] {
                 char* text = nullptr;
                 const HRESULT hr = CDataObject::QueryTextData(*source, CF_TEXT, &text, nullptr);
                 CHECK((text != nullptr) == (hr == S_OK));
                 delete[] text;
                 return hr;
             }},
            {"QueryTextData of wide text", kThrowsBadAlloc | kReturnsNoMemory,
             [&] {
                 wchar_t* text = nullptr;
                 const HRESULT hr =
                     CDataObject::QueryTextData(*source, CF_UNICODETEXT, &text, nullptr);
                 CHECK((text != nullptr) == (hr == S_OK));
                 delete[] text;
                 return hr;
             }},
        },
        useClipboardLocks);
}

TEST_CASE("Blocks and bitmaps are stored and read completely or not at all when memory runs out") {
    const OleApartment ole;
    StoringCalls storingCalls;
    const Object source = newDataObject();
    REQUIRE(setBlock(*source, kPrivateFormat, kText) == S_OK);
    REQUIRE(CDataObject::SetHBITMAPData(*source, CF_BITMAP, newBitmap(), TRUE) == S_OK);
    const auto storesBlock = [](bool release) {
        return [release](IDataObject& object) {
            const HGLOBAL block = newBlock(kText);
            HRESULT hr = E_FAIL;
            try {
                hr = CDataObject::SetHGLOBALData(object, kPrivateFormat, block, release);
            } catch (const std::bad_alloc&) {
                ::GlobalFree(block);  // the caller still owns the block
                throw;
            }
            if (FAILED(hr) || !release) ::GlobalFree(block);
            return hr;
        };
    };
    const auto storesBitmap = [](bool release) {
        return [release](IDataObject& object) {
            const HBITMAP bitmap = newBitmap();
            HRESULT hr = E_FAIL;
            try {
                hr = CDataObject::SetHBITMAPData(object, CF_BITMAP, bitmap, release);
            } catch (const std::bad_alloc&) {
                CHECK(::DeleteObject(bitmap));
                throw;
            }
            if (FAILED(hr) || !release) CHECK(::DeleteObject(bitmap));
            return hr;
        };
    };
    // Compatibility: if the system cannot duplicate the bitmap, the call stores a medium without a
    // handle and returns success.
    FailingCall copiesBitmap =
        storingCalls.create("SetHBITMAPData that copies",
                            kThrowsBadAlloc | kReturnsNoMemory | kSucceeds, 1, storesBitmap(false));
    copiesBitmap.examine = nullptr;
    const auto reads = [&](HRESULT (*query)(const IDataObject&, unsigned long, void**)) {
        return [&source, query] {
            void* block = nullptr;
            const HRESULT hr = query(*source, kPrivateFormat, &block);
            CHECK((block != nullptr) == (hr == S_OK));
            ::GlobalFree(block);
            return hr;
        };
    };
    everyAllocationFails(
        {
            storingCalls.create("SetHGLOBALData that takes over",
                                kThrowsBadAlloc | kReturnsNoMemory, 1, storesBlock(true)),
            storingCalls.create("SetHGLOBALData that copies", kThrowsBadAlloc | kReturnsNoMemory, 1,
                                storesBlock(false)),
            storingCalls.create("SetHBITMAPData that takes over",
                                kThrowsBadAlloc | kReturnsNoMemory, 1, storesBitmap(true)),
            copiesBitmap,
            {"QueryHGLOBALData", kReturnsNoMemory | kReturnsFailure,
             reads(&CDataObject::QueryHGLOBALData)},
            {"QueryHDIBData", kReturnsNoMemory | kReturnsFailure,
             reads(&CDataObject::QueryHDIBData)},
            {"QueryHBITMAPData", kReturnsFailure,
             [&] {
                 HBITMAP bitmap = nullptr;
                 const HRESULT hr = CDataObject::QueryHBITMAPData(*source, CF_BITMAP, &bitmap);
                 CHECK((bitmap != nullptr) == (hr == S_OK));
                 if (bitmap) CHECK(::DeleteObject(bitmap));
                 return hr;
             }},
        },
        useClipboardLocks);
}

TEST_CASE("Interfaces are stored and read completely or not at all when memory runs out") {
    const OleApartment ole;
    StoringCalls storingCalls;
    CountingUnknown unknown;
    {
        const Object source = newDataObject();
        REQUIRE(CDataObject::SetIUnknownData(*source, kPrivateFormat, unknown) == S_OK);
        const LONG before = unknown.references();
        FailingCall storing = storingCalls.create(
            "SetIUnknownData", kThrowsBadAlloc | kReturnsNoMemory, 1, [&](IDataObject& object) {
                return CDataObject::SetIUnknownData(object, kPrivateFormat, unknown);
            });
        const auto examine = storing.examine;
        storing.examine = [&unknown, before, examine](unsigned outcome) {
            examine(outcome);
            CHECK(unknown.references() == before);
        };
        everyAllocationFails({storing,
                              {"QueryIUnknownData", 0,
                               [&] {
                                   ATL::CComPtr<IUnknown> read;
                                   return CDataObject::QueryIUnknownData(*source, kPrivateFormat,
                                                                         &read);
                               }}},
                             useClipboardLocks);
        storingCalls = {};
    }
    CHECK(unknown.references() == 0);
}

TEST_CASE("Copy operations begin and end without allocating memory") {
    everyAllocationFails({{"BeginCopyProcess and EndCopyProcess", 0,
                           [] {
                               CDataObject::BeginCopyProcess();
                               const bool over = CDataObject::WaitForCopyProcessEnding(0);
                               CDataObject::EndCopyProcess();
                               return failureUnless(over);
                           }}},
                         useClipboardLocks);
}

TEST_CASE("Documents are stored and read completely or not at all when memory runs out") {
    const OleApartment ole;
    StoringCalls storingCalls;
    const Document document = parse(L"<a>a text that no short string holds</a>");
    const Object stream = newDataObject(), utf8 = newDataObject(), wide = newDataObject();
    REQUIRE(CDataObject::SetXMLData(*stream, kPrivateFormat, *document) == S_OK);
    REQUIRE(CDataObject::SetXMLAsUTF8Data(*utf8, kPrivateFormat, *document) == S_OK);
    REQUIRE(CDataObject::SetXMLAsBSTRData(*wide, kPrivateFormat, *document) == S_OK);
    const Object text = newDataObject();
    REQUIRE(CDataObject::SetCFTextData(*text, kText.c_str(), -1) == S_OK);
    const auto reads = [](const Object& source,
                          HRESULT (*query)(const IDataObject&, unsigned long, IXMLDOMDocument2**)) {
        return [&source, query] {
            Document read;
            const HRESULT hr = query(*source, kPrivateFormat, &read);
            CHECK((read != nullptr) == (hr == S_OK));
            return hr;
        };
    };
    const auto describes = [&](HRESULT (*describe)(const IDataObject&, IXMLDOMDocument2**)) {
        return [&text, describe] {
            Document created;
            const HRESULT hr = describe(*text, &created);
            CHECK((created != nullptr) == (hr == S_OK));
            return hr;
        };
    };
    constexpr unsigned kStoring = kThrowsBadAlloc | kReturnsNoMemory;
    constexpr unsigned kReadingStream = kThrowsComError | kReturnsNoMemory;
    constexpr unsigned kReading = kThrowsBadAlloc | kReadingStream;
    everyAllocationFails(
        {
            storingCalls.create("SetXMLData", kStoring, 1,
                                [&](IDataObject& object) {
                                    return CDataObject::SetXMLData(object, kPrivateFormat,
                                                                   *document);
                                }),
            storingCalls.create("SetXMLData in a block", kStoring, 1,
                                [&](IDataObject& object) {
                                    return CDataObject::SetXMLData(object, kPrivateFormat,
                                                                   TYMED_HGLOBAL, *document);
                                }),
            storingCalls.create("SetXMLAsUTF8Data", kStoring, 1,
                                [&](IDataObject& object) {
                                    return CDataObject::SetXMLAsUTF8Data(object, kPrivateFormat,
                                                                         *document);
                                }),
            storingCalls.create("SetXMLAsBSTRData", kStoring, 1,
                                [&](IDataObject& object) {
                                    return CDataObject::SetXMLAsBSTRData(object, kPrivateFormat,
                                                                         *document);
                                }),
            {"QueryXMLData", kReadingStream, reads(stream, &CDataObject::QueryXMLData)},
            {"QueryXML6Data", kReadingStream, reads(stream, &CDataObject::QueryXML6Data)},
            {"QueryXMLAsUTF8Data", kReading, reads(utf8, &CDataObject::QueryXMLAsUTF8Data)},
            {"QueryXML6AsUTF8Data", kReading, reads(utf8, &CDataObject::QueryXML6AsUTF8Data)},
            {"QueryXMLAsBSTRData", kReading, reads(wide, &CDataObject::QueryXMLAsBSTRData)},
            {"QueryXML6AsBSTRData", kReading, reads(wide, &CDataObject::QueryXML6AsBSTRData)},
            {"createXMLFromIDataObject", kReading | kSucceeds,
             describes(&CDataObject::createXMLFromIDataObject)},
            {"createXML6FromIDataObject", kReading | kSucceeds,
             describes(&CDataObject::createXML6FromIDataObject)},
        },
        useClipboardLocks);
}

}  // namespace
