#include <windows.h>

#include <msxml2.h>
#include <objbase.h>

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "benchmarks/Harness.h"
#include "dll/atl.h"
#include "formats/FormatXML.h"

namespace {

using OrvexClipboard::FormatXML;
using Element = ATL::CComPtr<IXMLDOMElement>;
using Node = ATL::CComPtr<IXMLDOMNode>;

constexpr CLSID kDocument30 = {
    0xF5078F32, 0xC551, 0x11D3, {0x89, 0xB9, 0x00, 0x00, 0xF8, 0x1F, 0xE2, 0x21}};
constexpr IID kIXMLDOMDocument = {
    0x2933BF81, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
constexpr int kFields = 10;  // number of fields of each instrument

std::wstring itemCode(int i) { return L"CODE" + std::to_wstring(i) + L".XX"; }
std::wstring fieldId(int i) { return std::to_wstring(100 + i); }

std::wstring written(int instruments) {
    FormatXML document;
    for (int i = 0; i < instruments; ++i) {
        document.putInstrument(itemCode(i), L"K", L"FEED");
        for (int f = 0; f < kFields; ++f)
            document.putField(L"A field's name", fieldId(f), L"1234.5");
    }
    std::wstring xml;
    document.exportToString(xml);
    return xml;
}

std::size_t read(const std::wstring& xml) {
    FormatXML document;
    document.importFromString(xml);
    std::size_t characters = 0;
    std::wstring text;
    while (document.getInstrument()) {
        document.getInstrument_ItemCode(text);
        characters += text.size();
        while (document.getField()) {
            document.getField_FID(text);
            characters += text.size();
        }
    }
    return characters;
}

// Returns a document whose instruments and fields have all been read.
std::shared_ptr<void> imported(const std::wstring& xml) {
    auto document = std::make_shared<FormatXML>();
    if (!document->importFromString(xml)) return nullptr;
    while (document->getInstrument())
        while (document->getField()) continue;
    return document;
}

std::size_t exchanged(int instruments) { return read(written(instruments)); }

// The reference writes and reads the documents by calling MSXML directly, without checking the
// results of the calls.

ATL::CComPtr<IXMLDOMDocument> newDocument() {
    ATL::CComPtr<IXMLDOMDocument> document;
    ::CoCreateInstance(kDocument30, nullptr, CLSCTX_ALL, kIXMLDOMDocument,
                       reinterpret_cast<void**>(&document));
    return document;
}

Element append(IXMLDOMDocument& document, IXMLDOMNode& parent, const wchar_t* name,
               const std::wstring& text = {}) {
    Element element;
    document.createElement(ATL::CComBSTR(name), &element);
    if (!text.empty()) element->put_text(ATL::CComBSTR(text.c_str()));
    parent.appendChild(element, nullptr);
    return element;
}

std::wstring plainlyWritten(int instruments) {
    const auto document = newDocument();
    const Element root = append(*document, *document, L"TarloData");
    const Element list = append(*document, *root, L"Instruments");
    for (int i = 0; i < instruments; ++i) {
        const Element instrument = append(*document, *list, L"Instrument");
        append(*document, *instrument, L"ItemCode", itemCode(i));
        append(*document, *instrument, L"KeyLetter", L"K");
        append(*document, *instrument, L"Datafeed", L"FEED");
        append(*document, *instrument, L"Parent");
        const Element fields = append(*document, *instrument, L"Fields");
        for (int f = 0; f < kFields; ++f) {
            const Element field = append(*document, *fields, L"Field");
            append(*document, *field, L"Value", L"1234.5");
            append(*document, *field, L"FID", fieldId(f));
            append(*document, *field, L"Name", L"A field's name");
        }
    }
    ATL::CComBSTR xml;
    document->get_xml(&xml);
    return std::wstring(xml, xml.Length());
}

std::size_t lengthOf(IXMLDOMNode& parent, const wchar_t* query) {
    Node found;
    parent.selectSingleNode(ATL::CComBSTR(query), &found);
    ATL::CComBSTR text;
    if (found) found->get_text(&text);
    return text.Length();
}

std::size_t plainlyRead(const std::wstring& xml) {
    const auto document = newDocument();
    VARIANT_BOOL loaded = VARIANT_FALSE;
    document->loadXML(ATL::CComBSTR(xml.c_str()), &loaded);
    std::size_t characters = 0;
    ATL::CComPtr<IXMLDOMNodeList> instruments;
    document->selectNodes(ATL::CComBSTR(L"TarloData/Instruments/Instrument"), &instruments);
    for (Node instrument; instruments->nextNode(&instrument) == S_OK; instrument.Release()) {
        characters += lengthOf(*instrument, L"ItemCode");
        ATL::CComPtr<IXMLDOMNodeList> fields;
        instrument->selectNodes(ATL::CComBSTR(L"Fields/Field"), &fields);
        for (Node field; fields->nextNode(&field) == S_OK; field.Release())
            characters += lengthOf(*field, L"FID");
    }
    return characters;
}

std::shared_ptr<void> plainlyImported(const std::wstring& xml) {
    auto document = std::make_shared<ATL::CComPtr<IXMLDOMDocument>>(newDocument());
    VARIANT_BOOL loaded = VARIANT_FALSE;
    (*document)->loadXML(ATL::CComBSTR(xml.c_str()), &loaded);
    return loaded ? document : nullptr;
}

std::size_t plainlyParsed(const std::wstring& xml) { return plainlyImported(xml) ? xml.size() : 0; }

bench::Batch exchanging(int instruments) {
    return bench::repeated([instruments] { return exchanged(instruments); });
}

bench::Batch writing(std::wstring (*write)(int), int instruments) {
    return bench::repeated([write, instruments] { return write(instruments).size(); });
}

bench::Batch reading(std::size_t (*readText)(const std::wstring&), int instruments) {
    return bench::repeated([readText, xml = written(instruments)] { return readText(xml); });
}

}  // namespace

int main(int argc, char** argv) {
    if (FAILED(::CoInitialize(nullptr))) return 1;
    constexpr int kWritten = 1000;  // number of instruments; `tenfold` writes 10,000
    constexpr int kRead = 300;
    constexpr int kExchanged = 10000;
    const std::vector<bench::Row> rows = {
        {"write and export a document", "1000 rows", writing(written, kWritten), "MSXML",
         writing(plainlyWritten, kWritten), writing(written, 10 * kWritten)},
        {"import and walk a document", "300 rows", reading(read, kRead), "MSXML",
         reading(plainlyRead, kRead), reading(read, 10 * kRead)},
        {"write export import and walk",
         "10000 rows",
         exchanging(kExchanged),
         "loadXML of its text",
         reading(plainlyParsed, kExchanged),
         nullptr,
         {.ratio = 4.5}},
        {"write export import and walk",
         "1000 rows",
         exchanging(kExchanged / 10),
         "loadXML of its text",
         reading(plainlyParsed, kExchanged / 10),
         exchanging(kExchanged),
         {.growth = 12}},
    };
    const std::wstring text = written(kExchanged);
    const std::vector<bench::MemoryRow> memoryRows = {
        {"memory of a document", "10000 rows", [&text] { return imported(text); },
         "loadXML of its text", [&text] { return plainlyImported(text); }}};
    const int result = bench::run(argc, argv, rows, memoryRows);
    ::CoUninitialize();
    return result;
}
