#pragma once
// Functions that the tests for instrument documents share.
#include <doctest/doctest.h>
#include <windows.h>

#include <msxml2.h>

#include <string>

#include "dll/atl.h"
#include "formats/FormatXML.h"
#include "tests/support/Apartment.h"
#include "tests/support/PrintedWide.h"

/// Returns a node and its descendants as text. For example, the result for
/// <a b='1'><c>x</c><d/></a> is a[b='1'](c='x' d).
inline std::wstring shown(IXMLDOMNode& node) {
    DOMNodeType type;
    ATL::CComBSTR name;
    REQUIRE(node.get_nodeType(&type) == S_OK);
    REQUIRE(node.get_nodeName(&name) == S_OK);
    if (type == NODE_TEXT) {
        ATL::CComVariant value;
        REQUIRE(node.get_nodeValue(&value) == S_OK);
        return L"'" + std::wstring(value.bstrVal, ::SysStringLen(value.bstrVal)) + L"'";
    }
    std::wstring text(name, name.Length());
    ATL::CComPtr<IXMLDOMNamedNodeMap> attributes;
    if (node.get_attributes(&attributes) == S_OK) {
        for (ATL::CComPtr<IXMLDOMNode> one; attributes->nextNode(&one) == S_OK; one.Release())
            text += L"[" + shown(*one) + L"]";
    }
    std::wstring children;
    bool isText = false;
    ATL::CComPtr<IXMLDOMNode> child;
    node.get_firstChild(&child);
    while (child) {
        const std::wstring one = shown(*child);
        isText = one.front() == L'\'';
        children += (children.empty() ? L"" : L" ") + one;
        ATL::CComPtr<IXMLDOMNode> next;
        child->get_nextSibling(&next);
        child = next;
    }
    if (children.empty()) return text;
    return isText ? text + L"=" + children : text + L"(" + children + L")";
}

/// Returns the root element of a document and its descendants as text. Returns an empty string if
/// the document cannot be exported.
inline std::wstring shown(OrvexClipboard::FormatXML& document) {
    ATL::CComPtr<IXMLDOMDocument2> copy;
    if (!document.exportToXML(&copy)) return {};
    ATL::CComPtr<IXMLDOMElement> root;
    REQUIRE(copy->get_documentElement(&root) == S_OK);
    return shown(*root);
}

/// The initial text of each string that a test passes to a getter. If the text is unchanged after
/// the call, the getter has not stored a value.
inline const std::wstring kUntouched = L"untouched";
