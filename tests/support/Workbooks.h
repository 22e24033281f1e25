#pragma once
// Creates workbooks for tests from XML fragments, and describes workbooks as one-line strings.
#include <doctest/doctest.h>
#include <windows.h>

#include <msxml2.h>

#include <string>

#include "dll/atl.h"
#include "formats/FormatXML4Spdsheet.h"
#include "tests/support/Documents.h"

namespace testsupport {

using OrvexClipboard::FormatXML4Spdsheet;

inline std::string narrow(std::wstring_view text) {
    std::string bytes;
    for (const wchar_t c : text) bytes += c < 0x80 ? static_cast<char>(c) : '?';
    return bytes;
}

// Returns the XML of a workbook. `rows` is the XML of the rows in its table.
inline std::wstring book(const std::wstring& rows) {
    return L"<?xml version='1.0'?><?mso-application progid='Excel.Sheet'?>"
           L"<Workbook xmlns='urn:schemas-microsoft-com:office:spreadsheet'"
           L" xmlns:ss='urn:schemas-microsoft-com:office:spreadsheet'>"
           L"<Worksheet ss:Name='Sheet1'><Table>" +
           rows + L"</Table></Worksheet></Workbook>";
}

// Returns the XML of a cell that contains `text`. `index` is the value of the ss:Index attribute.
// If `index` is 0, the cell does not have this attribute.
inline std::wstring cell(const std::wstring& text, int index = 0) {
    return (index ? L"<Cell ss:Index='" + std::to_wstring(index) + L"'>" : L"<Cell>") +
           L"<Data ss:Type='String'>" + text + L"</Data></Cell>";
}

// Returns the XML of a cell with a formula. Double quotation marks in the formula do not need to be
// escaped.
inline std::wstring formulaCell(const std::wstring& formula, int index = 0) {
    return (index ? L"<Cell ss:Index='" + std::to_wstring(index) + L"'" : std::wstring(L"<Cell")) +
           L" ss:Formula='" + formula + L"'/>";
}

inline std::wstring row(const std::wstring& cells, int index = 0) {
    return (index ? L"<Row ss:Index='" + std::to_wstring(index) + L"'>" : L"<Row>") + cells +
           L"</Row>";
}

inline Document parsed(const std::wstring& xml) {
    const Document document = parse(xml);
    REQUIRE(document);
    return document;
}

// Describes a node and its descendants in document order. An element is described as
// Name{attribute=value attribute=value}[child child]. Text is enclosed in single quotation marks.
inline std::string outlineOf(IXMLDOMNode& node) {
    DOMNodeType type = NODE_INVALID;
    REQUIRE(node.get_nodeType(&type) == S_OK);
    if (type == NODE_TEXT) return std::string("'").append(narrow(textOf(node))).append("'");

    std::string outline = narrow(nameOf(node));
    ATL::CComPtr<IXMLDOMNamedNodeMap> attributes;
    if (type == NODE_ELEMENT && node.get_attributes(&attributes) == S_OK) {
        std::string list;
        ATL::CComPtr<IXMLDOMNode> attribute;
        while (attributes->nextNode(&attribute) == S_OK && attribute) {
            if (!list.empty()) list += " ";
            list.append(narrow(nameOf(*attribute))).append("=").append(narrow(textOf(*attribute)));
            attribute.Release();
        }
        if (!list.empty()) outline.append("{").append(list).append("}");
    }
    std::string children;
    ATL::CComPtr<IXMLDOMNode> child;
    node.get_firstChild(&child);
    while (child) {
        if (!children.empty()) children += " ";
        children += outlineOf(*child);
        ATL::CComPtr<IXMLDOMNode> next;
        child->get_nextSibling(&next);
        child = next;
    }
    if (!children.empty()) outline.append("[").append(children).append("]");
    return outline;
}

// Parses `xml` and describes the root element.
inline std::string outlineOf(const std::wstring& xml) {
    const Document document = parsed(xml);
    ATL::CComPtr<IXMLDOMElement> root;
    REQUIRE(document->get_documentElement(&root) == S_OK);
    return outlineOf(*root);
}

inline std::wstring textOf(FormatXML4Spdsheet& sheet) {
    std::wstring xml;
    REQUIRE(sheet.exportToString(xml));
    return xml;
}

inline std::string outlineOf(FormatXML4Spdsheet& sheet) { return outlineOf(textOf(sheet)); }

// Returns the part of outlineOf(xml) that describes the contents of the Table element. Every
// {ss:Type=String} is omitted.
inline std::string rowsOf(const std::wstring& xml) {
    std::string outline = outlineOf(xml);
    const std::string type = "{ss:Type=String}";
    for (auto at = outline.find(type); at != std::string::npos; at = outline.find(type, at))
        outline.erase(at, type.size());
    const auto table = outline.find("Table");
    REQUIRE(table != std::string::npos);
    const auto begin = outline.find('[', table);
    return begin == std::string::npos ? "" : outline.substr(begin + 1, outline.size() - begin - 4);
}

inline std::string rowsOf(FormatXML4Spdsheet& sheet) { return rowsOf(textOf(sheet)); }

// Returns the records of an array of formulas, separated by "; ". Each record has the form
// "row,column instrument feed field".
inline std::string recordsOf(const FormatXML4Spdsheet::ArrayOfFormulas& array) {
    std::string list;
    for (const auto& [place, record] : array.records) {
        if (!list.empty()) list += "; ";
        list += std::to_string(place.first) + "," + std::to_string(place.second);
        for (const std::wstring* const text : {&record.sym, &record.feed, &record.field})
            list.append(" ").append(narrow(*text));
    }
    return list;
}

// Returns the records of all arrays in a sheet, with each array in brackets.
inline std::string arraysOf(const FormatXML4Spdsheet& sheet) {
    std::string list;
    for (int i = 0; i < sheet.listOfFormulaArraysSize(); ++i) {
        const auto* const array = sheet.listOfFormulaArraysGetAt(static_cast<unsigned>(i));
        list.append("[").append(recordsOf(*array)).append("]");
    }
    return list;
}

}  // namespace testsupport
