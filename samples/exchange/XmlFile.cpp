#include "samples/exchange/XmlFile.h"

#include <shlwapi.h>

#include "samples/clipboard_view/TextFile.h"
#include "samples/exchange/Failure.h"

namespace {

// The IID of IXMLDOMDocument2 is defined here, because the import libraries of MinGW-w64 do not
// define it.
constexpr IID kIXMLDOMDocument2 = {
    0x2933BF95, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};

ATL::CComPtr<IXMLDOMDocument2> newDocument() {
    CLSID parser;
    ATL::CComPtr<IXMLDOMDocument2> document;
    if (FAILED(::CLSIDFromProgID(L"Msxml2.DOMDocument.3.0", &parser)) ||
        FAILED(::CoCreateInstance(parser, nullptr, CLSCTX_INPROC_SERVER, kIXMLDOMDocument2,
                                  reinterpret_cast<void**>(&document))))
        throw Failure{kRefused, L"the system has no XML parser"};
    return document;
}

std::wstring parseError(IXMLDOMDocument2& document) {
    ATL::CComPtr<IXMLDOMParseError> error;
    long line = 0;
    ATL::CComBSTR reason;
    if (document.get_parseError(&error) == S_OK) {
        error->get_line(&line);
        error->get_reason(&reason);
    }
    std::wstring message = reason ? std::wstring(reason) : L"is not well-formed XML";
    message.erase(message.find_last_not_of(L"\r\n ") + 1);
    return line > 0 ? L", line " + std::to_wstring(line) + L": " + message : L": " + message;
}

}  // namespace

ATL::CComPtr<IXMLDOMDocument2> readXmlFile(const std::wstring& path) {
    // Load the XML from a stream, because Wine 10 does not accept a byte array that contains UTF-16
    // text.
    const std::string bytes = readFile(path);
    ATL::CComPtr<IStream> stream;
    stream.Attach(::SHCreateMemStream(reinterpret_cast<const BYTE*>(bytes.data()),
                                      static_cast<UINT>(bytes.size())));
    if (!stream) throw Failure{kRefused, L"there is no memory for the file"};
    ATL::CComPtr<IXMLDOMDocument2> document = newDocument();
    document->put_async(VARIANT_FALSE);
    document->put_validateOnParse(VARIANT_FALSE);
    document->put_resolveExternals(VARIANT_FALSE);
    document->put_preserveWhiteSpace(VARIANT_TRUE);

    VARIANT_BOOL parsed = VARIANT_FALSE;
    if (document->load(ATL::CComVariant(stream), &parsed) != S_OK || !parsed)
        throw Failure{kBadFile, path + parseError(*document)};
    return document;
}

std::wstring textOf(IXMLDOMDocument2& document) {
    ATL::CComBSTR text;
    if (document.get_xml(&text) != S_OK || !text)
        throw Failure{kRefused, L"the document cannot be written as text"};
    return std::wstring(text, ::SysStringLen(text));
}
