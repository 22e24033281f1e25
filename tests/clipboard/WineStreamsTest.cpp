// Tests how documents are stored under Wine. Wine's documents do not implement IStream.
#include <doctest/doctest.h>
#include <windows.h>

#include <ocidl.h>

#include <string>

#include "clipboard/CDataObject.h"
#include "tests/clipboard/XmlDoubles.h"
#include "tests/support/Apartment.h"
#include "tests/support/ReplacedImport.h"

namespace {

using namespace testsupport;

// A document without IStream. QueryInterface supports only the `persistence` interface. The save()
// method writes `bytes`.
struct SavingDocument : ScriptedDocument {
    explicit SavingDocument(std::string bytes, const IID& persistence = IID_IPersistStream) {
        onQueryInterface = [this, persistence](REFIID iid, void** object) {
            if (iid != persistence) return E_NOINTERFACE;
            AddRef();
            *object = static_cast<IUnknown*>(this);
            return S_OK;
        };
        onSave = [bytes = std::move(bytes)](const VARIANT& destination) {
            REQUIRE(destination.vt == VT_UNKNOWN);
            ATL::CComPtr<IStream> stream;
            REQUIRE(destination.punkVal->QueryInterface(IID_IStream,
                                                        reinterpret_cast<void**>(&stream)) == S_OK);
            return stream->Write(bytes.data(), static_cast<ULONG>(bytes.size()), nullptr);
        };
    }
};

// Stores the document as a global memory block.
HRESULT store(Receiver& receiver, const IXMLDOMDocument2& document) {
    return CDataObject::SetXMLData(receiver, kPrivateFormat, TYMED_HGLOBAL, document);
}

TEST_CASE("Under Wine a document that saves itself is stored as a stream" *
          doctest::skip(!underWine())) {
    for (const IID& persistence : {IID_IPersistStream, IID_IPersistStreamInit}) {
        SavingDocument document("<a/>", persistence);
        Receiver receiver;

        CHECK(store(receiver, document) == S_OK);

        CHECK(receiver.block == "<a/>");
        CHECK(document.references() == 0);
    }
}

TEST_CASE("Under Wine a document that cannot be saved has no stream") {
    SavingDocument document("<a/>");
    document.onSave = [](const VARIANT&) { return E_ACCESSDENIED; };
    Receiver receiver;

    CHECK(store(receiver, document) == E_NOINTERFACE);

    CHECK(receiver.calls == 0);
}

TEST_CASE("Under Wine a document is saved to an object with the interfaces of a stream" *
          doctest::skip(!underWine())) {
    SavingDocument document("");
    int interfaces = 0;
    document.onSave = [&interfaces](const VARIANT& destination) {
        IUnknown& saved = *destination.punkVal;
        CHECK(saved.QueryInterface(IID_IStream, nullptr) == E_POINTER);
        for (const IID& iid : {IID_IUnknown, IID_ISequentialStream, IID_IStream}) {
            ATL::CComPtr<IUnknown> found;
            CHECK(saved.QueryInterface(iid, reinterpret_cast<void**>(&found)) == S_OK);
            interfaces += found == &saved;
        }
        void* none = &saved;
        CHECK(saved.QueryInterface(IID_IDispatch, &none) == E_NOINTERFACE);
        CHECK(none == nullptr);
        return S_OK;
    };
    Receiver receiver;

    CHECK(CDataObject::SetXMLData(receiver, kPrivateFormat, document) == S_OK);

    CHECK(interfaces == 3);
}

TEST_CASE("Under Wine the encoding is removed from the XML declaration of a saved document" *
          doctest::skip(!underWine())) {
    const struct {
        const char *saved, *stored;
    } rows[] = {
        {"<?xml version='1.0' encoding='UTF-16'?><a/>", "<?xml version='1.0'?><a/>"},
        {"<?xml version=\"1.0\" encoding=\"a\" standalone=\"no\"?><a/>",
         "<?xml version=\"1.0\" standalone=\"no\"?><a/>"},
        {"<?xml version='1.0'?><a encoding='b'/>", "<?xml version='1.0'?><a encoding='b'/>"},
        {"<?xml version='1.0' encoding='UTF-16?><a/>",
         "<?xml version='1.0' encoding='UTF-16?><a/>"},
        {"<a/>", "<a/>"},
    };
    for (const auto& row : rows) {
        CAPTURE(row.saved);
        Receiver receiver;

        CHECK(store(receiver, SavingDocument(row.saved)) == S_OK);

        CHECK(receiver.block == row.stored);
    }
}

TEST_CASE("Under Wine a document has no stream if its block cannot be locked" *
          doctest::skip(!underWine())) {
    SavingDocument document("<a/>");
    Receiver receiver;
    const ReplacedImport<decltype(::GlobalLock)> lock(
        "GlobalLock", +[](HGLOBAL) -> void* { return nullptr; });

    CHECK(CDataObject::SetXMLData(receiver, kPrivateFormat, document) == E_OUTOFMEMORY);

    CHECK(receiver.calls == 0);
}

}  // namespace
