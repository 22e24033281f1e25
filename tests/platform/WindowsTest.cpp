// In this program, the library detects Windows and does not apply its workarounds for Wine. The
// program is separate, because the library detects the system only once and stores the result.
#include <doctest/doctest.h>
#include <windows.h>

#include <mlang.h>

#include <algorithm>
#include <string>
#include <string_view>

#include "clipboard/CDataObject.h"
#include "formats/FormatXML.h"
#include "formats/FormatXML4Spdsheet.h"
#include "i18nsys/i18nsys.h"
#include "tests/clipboard/XmlDoubles.h"
#include "tests/support/Apartment.h"
#include "tests/support/ImportHook.h"
#include "tests/support/InterfaceIds.h"
#include "tests/support/ObservedDom.h"
#include "tests/support/PrintedWide.h"

namespace {

using namespace testsupport;
using OrvexClipboard::FormatXML;
using OrvexClipboard::FormatXML4Spdsheet;

decltype(&::GetProcAddress) g_getProcAddress;
int g_lookups = 0;

// Finds all functions except wine_get_version, which ntdll.dll does not export on Windows.
FARPROC WINAPI findAsOnWindows(HMODULE module, const char* name) {
    const bool hasName = !IS_INTRESOURCE(name);
    if (!hasName || std::string_view(name) != "wine_get_version")
        return g_getProcAddress(module, name);
    ++g_lookups;
    ::SetLastError(ERROR_PROC_NOT_FOUND);
    return nullptr;
}

// Replaces GetProcAddress before the first test case starts. The replacement stays in place until
// the program ends.
const int g_replaced = hookImport(::GetModuleHandleW(L"I18nResource.dll"), "GetProcAddress",
                                  reinterpret_cast<void*>(&findAsOnWindows),
                                  reinterpret_cast<void**>(&g_getProcAddress));

bool wasCalled(const ObservedDom& dom, const std::wstring& call) {
    return std::find(dom.calls.begin(), dom.calls.end(), call) != dom.calls.end();
}

/// Calls the GetLcidFromRfc1766 method of the system's multi-language service.
HRESULT queryService(const wchar_t* tag, LCID& lcid) {
    constexpr IID kMultiLanguage = {
        0x275C23E1, 0x3747, 0x11D0, {0x9F, 0xEA, 0x00, 0xAA, 0x00, 0x3F, 0x86, 0x46}};
    ATL::CComPtr<IMultiLanguage> service;
    REQUIRE(::CoCreateInstance(kMultiLanguageClass, nullptr, CLSCTX_INPROC_SERVER, kMultiLanguage,
                               reinterpret_cast<void**>(&service)) == S_OK);
    return service->GetLcidFromRfc1766(&lcid, ATL::CComBSTR(tag));
}

TEST_CASE("On Windows the supported tags are those of the system's service") {
    const Apartment apartment;
    for (const wchar_t* tag : {L"fr-FR", L"zh-Hans", L"en-US", L"fr_FR", L"xx-YY"}) {
        CAPTURE(std::wstring(tag));
        LCID known = 7;
        unsigned long lcid = 7;

        CHECK(i18nsys::getLcidFromRfc1766(tag, lcid) == queryService(tag, known));

        CHECK(lcid == known);
    }
}

TEST_CASE("On Windows SetXMLData does not save a document that has no stream") {
    int saves = 0;
    ScriptedDocument document;
    document.onQueryInterface = [&document](REFIID iid, void** object) {
        if (iid != IID_IPersistStream) return E_NOINTERFACE;
        return document.QueryInterface(IID_IUnknown, object);
    };
    document.onSave = [&saves](const VARIANT&) {
        ++saves;
        return S_OK;
    };
    Receiver receiver;

    CHECK(CDataObject::SetXMLData(receiver, kPrivateFormat, document) == E_NOINTERFACE);

    CHECK(saves == 0);
}

TEST_CASE("On Windows a document is loaded from the stream of a data object") {
    const Apartment apartment;
    ScriptedStream stream("<a/>");
    std::string loaded;
    CallRecorder recorder(kDocument30);
    recorder.document.onLoad = [&loaded](const VARIANT& source, VARIANT_BOOL* successful) {
        ATL::CComPtr<IStream> contents;
        REQUIRE(source.punkVal->QueryInterface(IID_IStream, reinterpret_cast<void**>(&contents)) ==
                S_OK);
        char bytes[16];
        ULONG count = 0;
        CHECK(contents->Read(bytes, sizeof bytes, &count) == S_OK);
        loaded.assign(bytes, count);
        *successful = VARIANT_TRUE;
        return S_OK;
    };
    Document document;

    CHECK(CDataObject::QueryXMLData(Source(TYMED_ISTREAM, &stream), kPrivateFormat, &document) ==
          S_OK);

    CHECK(loaded == "<a/>");
}

TEST_CASE("On Windows a document keeps the references that it adds to another document") {
    const Apartment apartment;
    ScriptedDocument source, copy;
    copy.onLoad = [](const VARIANT& from, VARIANT_BOOL* successful) {
        from.punkVal->AddRef();
        *successful = VARIANT_TRUE;
        return S_OK;
    };
    const ScriptedClass scripted(kDocument30, copy);
    FormatXML4Spdsheet sheet;

    sheet.importFromXML(source);

    CHECK(source.references() == 1);
}

TEST_CASE("On Windows the text of a document is read with one call") {
    int looks = 0;
    ScriptedDocument document;
    document.onGetXml = returnsText(L"<a/>");
    document.onGetNodeType = [&looks](DOMNodeType*) {
        ++looks;
        return E_FAIL;
    };
    Receiver receiver;

    CHECK(CDataObject::SetXMLAsUTF8Data(receiver, kPrivateFormat, document) == S_OK);

    CHECK(looks == 0);
}

TEST_CASE("On Windows a value is read from a document") {
    const Apartment apartment;
    FormatXML document;
    std::wstring code;
    REQUIRE(
        document.importFromString(L"<TarloData><Instruments><Instrument><ItemCode>A</ItemCode>"
                                  L"</Instrument></Instruments></TarloData>"));

    CHECK(document.getInstrument() == 1);
    CHECK(document.getInstrument_ItemCode(code));

    CHECK(code == L"A");
}

TEST_CASE("On Windows all text is stored as a typed value") {
    const Apartment apartment;
    for (const std::wstring text : {L"R&D", L"& \x01", L"\xFFFE&"}) {
        CAPTURE(text);
        ObservedDom dom;
        FormatXML document;

        CHECK(document.putPortfolio(text, L"T"));

        CHECK(wasCalled(dom, L"put_nodeTypedValue " + text));
        CHECK_FALSE(wasCalled(dom, L"put_text " + text));
    }
}

TEST_CASE("On Windows a typed value is used unchanged") {
    const Apartment apartment;
    ObservedDom dom;
    FormatXML document;
    std::wstring code;
    REQUIRE(
        document.importFromString(L"<TarloData><Instruments><Instrument><ItemCode>A</ItemCode>"
                                  L"</Instrument></Instruments></TarloData>"));
    REQUIRE(document.getInstrument() == 1);

    CHECK(document.getInstrument_ItemCode(code));

    CHECK(wasCalled(dom, L"get_nodeTypedValue"));
    CHECK_FALSE(wasCalled(dom, L"get_nodeValue"));
}

TEST_CASE("The library checks once whether the system is Windows") {
    const Apartment apartment;
    REQUIRE(g_replaced > 0);
    for (int document = 0; document < 2; ++document) {
        REQUIRE(FormatXML().putPortfolio(L"R&D", L"T"));
    }

    CHECK(g_lookups == 1);
}

}  // namespace
