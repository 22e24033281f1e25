#pragma once
// MSXML documents for tests. Tests compare the structures of documents instead of the XML text,
// because the white space in the text may differ.
#include <windows.h>

#include <msxml2.h>
#include <oleauto.h>

#include <string>

#include "dll/atl.h"
#include "tests/support/ScriptedDom.h"

namespace testsupport {

constexpr CLSID kDocument30 = {
    0xF5078F32, 0xC551, 0x11D3, {0x89, 0xB9, 0x00, 0x00, 0xF8, 0x1F, 0xE2, 0x21}};
constexpr CLSID kDocument60 = {
    0x88D96A05, 0xF192, 0x11D4, {0xA6, 0x5F, 0x00, 0x40, 0x96, 0x32, 0x51, 0xE5}};

using Document = ATL::CComPtr<IXMLDOMDocument2>;

inline Document newDocument(REFCLSID documentClass = kDocument30) {
    Document document;
    ::CoCreateInstance(documentClass, nullptr, CLSCTX_ALL, kIXMLDOMDocument2,
                       reinterpret_cast<void**>(&document));
    return document;
}

// Returns null if the XML is not well-formed.
inline Document parse(const std::wstring& xml, REFCLSID documentClass = kDocument30) {
    Document document = newDocument(documentClass);
    VARIANT_BOOL parsed = VARIANT_FALSE;
    const ATL::CComBSTR text(xml.c_str());
    if (document->loadXML(text, &parsed) != S_OK || !parsed) document.Release();
    return document;
}

inline std::wstring nameOf(IXMLDOMNode& node) {
    ATL::CComBSTR name;
    node.get_nodeName(&name);
    return contentsOf(name);
}

inline std::wstring textOf(IXMLDOMNode& node) {
    ATL::CComBSTR text;
    node.get_text(&text);
    return contentsOf(text);
}

// Describes a node and its descendants: an element as name{...}, a text node by its text, and every
// other node by its name.
inline std::wstring structureOf(IXMLDOMNode& node) {
    DOMNodeType type = NODE_INVALID;
    node.get_nodeType(&type);
    if (type == NODE_TEXT) return textOf(node);
    if (type != NODE_ELEMENT) return nameOf(node);
    std::wstring structure = nameOf(node) + L"{";
    ATL::CComPtr<IXMLDOMNode> child;
    node.get_firstChild(&child);
    while (child) {
        structure += structureOf(*child);
        ATL::CComPtr<IXMLDOMNode> next;
        child->get_nextSibling(&next);
        child = next;
    }
    return structure + L"}";
}

// Describes the root element. Returns "none" if there is no document or no root element.
inline std::wstring structureOf(IXMLDOMDocument2* document) {
    ATL::CComPtr<IXMLDOMElement> root;
    if (document) document->get_documentElement(&root);
    return root ? structureOf(static_cast<IXMLDOMNode&>(*root)) : L"none";
}

inline std::wstring selectionLanguageOf(IXMLDOMDocument2& document) {
    ATL::CComVariant language;
    document.getProperty(ATL::CComBSTR(L"SelectionLanguage"), &language);
    return language.vt == VT_BSTR ? contentsOf(language.bstrVal) : L"?";
}

}  // namespace testsupport
