// What stands in for the streams that Wine's documents misread.
#include <doctest/doctest.h>
#include <windows.h>

#include <string>
#include <string_view>
#include <utility>

#include "platform/Dom.h"
#include "platform/Wine.h"
#include "tests/support/Apartment.h"
#include "tests/support/ScriptedStream.h"

namespace {

using namespace testsupport;

/// A scripted stream, and what a document of the system loads in place of it.
struct Loadable {
    explicit Loadable(std::string contents = {}) : scripted(std::move(contents)) {
        ATL::CComPtr<IXMLDOMDocument> document;
        REQUIRE(platform::dom::createDocument(platform::dom::kDocument30, document) == S_OK);
        stream = platform::wine::loadableStream(*document, scripted);
    }

    const Apartment apartment;
    ScriptedStream scripted;
    ATL::CComPtr<IStream> stream;
};

TEST_CASE("What a document is loaded from has the interfaces of a stream") {
    const Loadable loadable;

    for (const IID& iid : {IID_IUnknown, IID_ISequentialStream, IID_IStream}) {
        ATL::CComPtr<IUnknown> found;
        CHECK(loadable.stream->QueryInterface(iid, reinterpret_cast<void**>(&found)) == S_OK);
        CHECK(found == static_cast<IUnknown*>(loadable.stream));
    }
    void* none = loadable.stream;
    CHECK(loadable.stream->QueryInterface(IID_IDispatch, &none) == E_NOINTERFACE);
    CHECK(none == nullptr);
}

TEST_CASE("Under Wine what a document is loaded from refuses a null pointer" *
          doctest::skip(!platform::wine::isRunning())) {
    const Loadable loadable;

    CHECK(loadable.stream->QueryInterface(IID_IStream, nullptr) == E_POINTER);
}

TEST_CASE("What a document is loaded from reads for those who do not count") {
    const Loadable loadable("abc");
    char bytes[4] = {};

    CHECK(loadable.stream->Read(bytes, 3, nullptr) == S_OK);

    CHECK(std::string_view(bytes) == "abc");
}

}  // namespace
