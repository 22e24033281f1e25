#pragma once
// XML nodes, documents and lists whose methods all return E_NOTIMPL. Classes in the tests derive
// from these classes and override the methods that a test needs. The derived classes also implement
// IUnknown.
#include <windows.h>

#include <msxml2.h>
#include <oleauto.h>

#include "tests/support/ListEnumerator.h"

namespace testsupport {

/// Implements the methods of IDispatch.
template <class Interface>
class DispatchStub : public Interface {
public:
    /// The interface that the object implements.
    using Implemented = Interface;

    STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*,
                        UINT*) override {
        return E_NOTIMPL;
    }
};

/// Implements the methods of IXMLDOMNode. `Interface` is IXMLDOMNode or an interface that is
/// derived from it.
template <class Interface>
class NodeStub : public DispatchStub<Interface> {
public:
    STDMETHODIMP get_xml(BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP appendChild(IXMLDOMNode*, IXMLDOMNode**) override { return E_NOTIMPL; }
    STDMETHODIMP put_text(BSTR) override { return E_NOTIMPL; }
    STDMETHODIMP get_text(BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP selectSingleNode(BSTR, IXMLDOMNode**) override { return E_NOTIMPL; }
    STDMETHODIMP get_nodeName(BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP get_nodeValue(VARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP put_nodeValue(VARIANT) override { return E_NOTIMPL; }
    STDMETHODIMP get_nodeType(DOMNodeType*) override { return E_NOTIMPL; }
    STDMETHODIMP get_parentNode(IXMLDOMNode**) override { return E_NOTIMPL; }
    STDMETHODIMP get_childNodes(IXMLDOMNodeList**) override { return E_NOTIMPL; }
    STDMETHODIMP get_firstChild(IXMLDOMNode**) override { return E_NOTIMPL; }
    STDMETHODIMP get_lastChild(IXMLDOMNode**) override { return E_NOTIMPL; }
    STDMETHODIMP get_previousSibling(IXMLDOMNode**) override { return E_NOTIMPL; }
    STDMETHODIMP get_nextSibling(IXMLDOMNode**) override { return E_NOTIMPL; }
    STDMETHODIMP get_attributes(IXMLDOMNamedNodeMap**) override { return E_NOTIMPL; }
    STDMETHODIMP insertBefore(IXMLDOMNode*, VARIANT, IXMLDOMNode**) override { return E_NOTIMPL; }
    STDMETHODIMP replaceChild(IXMLDOMNode*, IXMLDOMNode*, IXMLDOMNode**) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP removeChild(IXMLDOMNode*, IXMLDOMNode**) override { return E_NOTIMPL; }
    STDMETHODIMP hasChildNodes(VARIANT_BOOL*) override { return E_NOTIMPL; }
    STDMETHODIMP get_ownerDocument(IXMLDOMDocument**) override { return E_NOTIMPL; }
    STDMETHODIMP cloneNode(VARIANT_BOOL, IXMLDOMNode**) override { return E_NOTIMPL; }
    STDMETHODIMP get_nodeTypeString(BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP get_specified(VARIANT_BOOL*) override { return E_NOTIMPL; }
    STDMETHODIMP get_definition(IXMLDOMNode**) override { return E_NOTIMPL; }
    STDMETHODIMP get_nodeTypedValue(VARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP put_nodeTypedValue(VARIANT) override { return E_NOTIMPL; }
    STDMETHODIMP get_dataType(VARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP put_dataType(BSTR) override { return E_NOTIMPL; }
    STDMETHODIMP transformNode(IXMLDOMNode*, BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP selectNodes(BSTR, IXMLDOMNodeList**) override { return E_NOTIMPL; }
    STDMETHODIMP get_parsed(VARIANT_BOOL*) override { return E_NOTIMPL; }
    STDMETHODIMP get_namespaceURI(BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP get_prefix(BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP get_baseName(BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP transformNodeToObject(IXMLDOMNode*, VARIANT) override { return E_NOTIMPL; }
};

class ElementStub : public NodeStub<IXMLDOMElement> {
public:
    STDMETHODIMP get_tagName(BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP getAttribute(BSTR, VARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP setAttribute(BSTR, VARIANT) override { return E_NOTIMPL; }
    STDMETHODIMP removeAttribute(BSTR) override { return E_NOTIMPL; }
    STDMETHODIMP getAttributeNode(BSTR, IXMLDOMAttribute**) override { return E_NOTIMPL; }
    STDMETHODIMP setAttributeNode(IXMLDOMAttribute*, IXMLDOMAttribute**) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP removeAttributeNode(IXMLDOMAttribute*, IXMLDOMAttribute**) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP getElementsByTagName(BSTR, IXMLDOMNodeList**) override { return E_NOTIMPL; }
    STDMETHODIMP normalize() override { return E_NOTIMPL; }
};

class DocumentStub : public NodeStub<IXMLDOMDocument2> {
public:
    // IXMLDOMDocument
    STDMETHODIMP createNode(VARIANT, BSTR, BSTR, IXMLDOMNode**) override { return E_NOTIMPL; }
    STDMETHODIMP load(VARIANT, VARIANT_BOOL*) override { return E_NOTIMPL; }
    STDMETHODIMP loadXML(BSTR, VARIANT_BOOL*) override { return E_NOTIMPL; }
    STDMETHODIMP save(VARIANT) override { return E_NOTIMPL; }
    STDMETHODIMP put_async(VARIANT_BOOL) override { return E_NOTIMPL; }
    STDMETHODIMP put_resolveExternals(VARIANT_BOOL) override { return E_NOTIMPL; }
    STDMETHODIMP put_validateOnParse(VARIANT_BOOL) override { return E_NOTIMPL; }
    STDMETHODIMP get_doctype(IXMLDOMDocumentType**) override { return E_NOTIMPL; }
    STDMETHODIMP get_implementation(IXMLDOMImplementation**) override { return E_NOTIMPL; }
    STDMETHODIMP get_documentElement(IXMLDOMElement**) override { return E_NOTIMPL; }
    STDMETHODIMP putref_documentElement(IXMLDOMElement*) override { return E_NOTIMPL; }
    STDMETHODIMP createElement(BSTR, IXMLDOMElement**) override { return E_NOTIMPL; }
    STDMETHODIMP createDocumentFragment(IXMLDOMDocumentFragment**) override { return E_NOTIMPL; }
    STDMETHODIMP createTextNode(BSTR, IXMLDOMText**) override { return E_NOTIMPL; }
    STDMETHODIMP createComment(BSTR, IXMLDOMComment**) override { return E_NOTIMPL; }
    STDMETHODIMP createCDATASection(BSTR, IXMLDOMCDATASection**) override { return E_NOTIMPL; }
    STDMETHODIMP createProcessingInstruction(BSTR, BSTR, IXMLDOMProcessingInstruction**) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP createAttribute(BSTR, IXMLDOMAttribute**) override { return E_NOTIMPL; }
    STDMETHODIMP createEntityReference(BSTR, IXMLDOMEntityReference**) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP getElementsByTagName(BSTR, IXMLDOMNodeList**) override { return E_NOTIMPL; }
    STDMETHODIMP nodeFromID(BSTR, IXMLDOMNode**) override { return E_NOTIMPL; }
    STDMETHODIMP get_readyState(LONG*) override { return E_NOTIMPL; }
    STDMETHODIMP get_parseError(IXMLDOMParseError**) override { return E_NOTIMPL; }
    STDMETHODIMP get_url(BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP get_async(VARIANT_BOOL*) override { return E_NOTIMPL; }
    STDMETHODIMP abort() override { return E_NOTIMPL; }
    STDMETHODIMP get_validateOnParse(VARIANT_BOOL*) override { return E_NOTIMPL; }
    STDMETHODIMP get_resolveExternals(VARIANT_BOOL*) override { return E_NOTIMPL; }
    STDMETHODIMP get_preserveWhiteSpace(VARIANT_BOOL*) override { return E_NOTIMPL; }
    STDMETHODIMP put_preserveWhiteSpace(VARIANT_BOOL) override { return E_NOTIMPL; }
    STDMETHODIMP put_onreadystatechange(VARIANT) override { return E_NOTIMPL; }
    STDMETHODIMP put_ondataavailable(VARIANT) override { return E_NOTIMPL; }
    STDMETHODIMP put_ontransformnode(VARIANT) override { return E_NOTIMPL; }

    // IXMLDOMDocument2
    STDMETHODIMP setProperty(BSTR, VARIANT) override { return E_NOTIMPL; }
    STDMETHODIMP getProperty(BSTR, VARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP get_namespaces(IXMLDOMSchemaCollection**) override { return E_NOTIMPL; }
    STDMETHODIMP get_schemas(VARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP putref_schemas(VARIANT) override { return E_NOTIMPL; }
    STDMETHODIMP validate(IXMLDOMParseError**) override { return E_NOTIMPL; }
};

/// Implements the methods that are common to IXMLDOMNodeList and IXMLDOMNamedNodeMap.
template <class Interface>
class ListStub : public WithoutEnumerator<DispatchStub<Interface>> {
public:
    STDMETHODIMP get_item(long, IXMLDOMNode**) override { return E_NOTIMPL; }
    STDMETHODIMP get_length(long*) override { return E_NOTIMPL; }
    STDMETHODIMP nextNode(IXMLDOMNode**) override { return E_NOTIMPL; }
    STDMETHODIMP reset() override { return E_NOTIMPL; }
};

class AttributesStub : public ListStub<IXMLDOMNamedNodeMap> {
public:
    STDMETHODIMP getNamedItem(BSTR, IXMLDOMNode**) override { return E_NOTIMPL; }
    STDMETHODIMP setNamedItem(IXMLDOMNode*, IXMLDOMNode**) override { return E_NOTIMPL; }
    STDMETHODIMP removeNamedItem(BSTR, IXMLDOMNode**) override { return E_NOTIMPL; }
    STDMETHODIMP getQualifiedItem(BSTR, BSTR, IXMLDOMNode**) override { return E_NOTIMPL; }
    STDMETHODIMP removeQualifiedItem(BSTR, BSTR, IXMLDOMNode**) override { return E_NOTIMPL; }
};

}  // namespace testsupport
