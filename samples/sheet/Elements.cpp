#include "samples/sheet/Elements.h"

#include <string_view>
#include <utility>

using Element = ATL::CComPtr<IXMLDOMElement>;
using Node = ATL::CComPtr<IXMLDOMNode>;

namespace {

// The IID of IXMLDOMElement is defined here, because not every uuid library defines it.
constexpr IID kIXMLDOMElement = {
    0x2933BF86, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};

std::wstring toString(const ATL::CComBSTR& text) {
    return std::wstring(text.m_str ? text.m_str : L"", text.Length());
}

bool isNamed(IXMLDOMNode& node, std::wstring_view name) {
    ATL::CComBSTR nodeName;
    return node.get_nodeName(&nodeName) == S_OK && toString(nodeName) == name;
}

}  // namespace

std::vector<Element> elements(IXMLDOMNode& parent, const wchar_t* name) {
    std::vector<Element> found;
    Node node;
    parent.get_firstChild(&node);
    while (node) {
        Element element;
        if (isNamed(*node, name) &&
            node->QueryInterface(kIXMLDOMElement, reinterpret_cast<void**>(&element)) == S_OK)
            found.push_back(element);
        Node next;
        node->get_nextSibling(&next);
        node = std::move(next);
    }
    return found;
}

std::vector<Element> rowsOf(IXMLDOMDocument2& workbook) {
    Node parent(&workbook);
    for (const wchar_t* const name : {L"Workbook", L"Worksheet", L"Table"}) {
        const std::vector<Element> found = elements(*parent, name);
        if (found.empty()) return {};
        parent = found.front().p;
    }
    return elements(*parent, L"Row");
}
