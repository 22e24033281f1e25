#pragma once
// XML documents and nodes whose methods call functions that the test sets. A method without such a
// function returns E_NOTIMPL. The test owns the objects, and the last Release does not free them.
// The test can therefore read a reference count at any time, even if the count is negative.
#include <windows.h>

#include <msxml2.h>
#include <oleauto.h>

#include <functional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "tests/support/DomStubs.h"
#include "tests/support/InterfaceIds.h"

namespace testsupport {

inline std::wstring contentsOf(BSTR text) {
    return text ? std::wstring(text, ::SysStringLen(text)) : L"";
}

// Implements the methods that all nodes have in common. `Stub` is a NodeStub or a class derived
// from it.
template <class Stub>
class ScriptedNodeBase : public Stub {
public:
    ScriptedNodeBase() = default;
    ScriptedNodeBase(const ScriptedNodeBase&) = delete;
    ScriptedNodeBase& operator=(const ScriptedNodeBase&) = delete;
    virtual ~ScriptedNodeBase() = default;

    // Returns the number of references that other code holds. The test itself holds no reference.
    LONG references() const { return m_references; }

    // QueryInterface calls this function for interfaces that this class does not support.
    std::function<HRESULT(REFIID iid, void** object)> onQueryInterface;
    std::function<HRESULT(BSTR* xml)> onGetXml;
    std::function<HRESULT(IXMLDOMNode* child, IXMLDOMNode** appended)> onAppendChild;
    std::function<HRESULT(const std::wstring& text)> onPutText;
    std::function<HRESULT(BSTR* text)> onGetText;
    std::function<HRESULT(const std::wstring& query, IXMLDOMNode** node)> onSelectSingleNode;
    std::function<HRESULT(IXMLDOMNodeList** nodes)> onSelectNodes;
    std::function<HRESULT(DOMNodeType* type)> onGetNodeType;
    std::function<HRESULT(BSTR* name)> onGetNodeName;
    std::function<HRESULT(IXMLDOMNode** child)> onGetFirstChild;
    std::function<HRESULT(IXMLDOMNode** sibling)> onGetNextSibling;
    std::function<HRESULT(IXMLDOMNodeList** children)> onGetChildNodes;
    std::function<HRESULT(IXMLDOMNamedNodeMap** attributes)> onGetAttributes;
    std::function<HRESULT(IXMLDOMNode** clone)> onCloneNode;
    std::function<HRESULT(const VARIANT& value)> onPutNodeTypedValue;
    std::function<HRESULT(VARIANT* value)> onGetNodeTypedValue;
    std::function<HRESULT(VARIANT* value)> onGetNodeValue;

    // IUnknown
    STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
        *object = nullptr;
        if (iid == IID_IUnknown || iid == IID_IDispatch || iid == kIXMLDOMNode) {
            *object = static_cast<typename Stub::Implemented*>(this);
            AddRef();
            return S_OK;
        }
        return onQueryInterface ? onQueryInterface(iid, object) : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override {
        return static_cast<ULONG>(::InterlockedIncrement(&m_references));
    }
    STDMETHODIMP_(ULONG) Release() override {
        return static_cast<ULONG>(::InterlockedDecrement(&m_references));
    }

    // IXMLDOMNode
    STDMETHODIMP get_xml(BSTR* xml) override { return onGetXml ? onGetXml(xml) : E_NOTIMPL; }
    STDMETHODIMP appendChild(IXMLDOMNode* child, IXMLDOMNode** appended) override {
        return onAppendChild ? onAppendChild(child, appended) : E_NOTIMPL;
    }
    STDMETHODIMP put_text(BSTR text) override {
        return onPutText ? onPutText(contentsOf(text)) : E_NOTIMPL;
    }
    STDMETHODIMP get_text(BSTR* text) override { return onGetText ? onGetText(text) : E_NOTIMPL; }
    STDMETHODIMP selectSingleNode(BSTR query, IXMLDOMNode** node) override {
        return onSelectSingleNode ? onSelectSingleNode(contentsOf(query), node) : E_NOTIMPL;
    }
    STDMETHODIMP get_nodeName(BSTR* name) override {
        return onGetNodeName ? onGetNodeName(name) : E_NOTIMPL;
    }
    STDMETHODIMP get_nodeValue(VARIANT* value) override {
        return onGetNodeValue ? onGetNodeValue(value) : E_NOTIMPL;
    }
    STDMETHODIMP get_nodeType(DOMNodeType* type) override {
        return onGetNodeType ? onGetNodeType(type) : E_NOTIMPL;
    }
    STDMETHODIMP get_childNodes(IXMLDOMNodeList** children) override {
        return onGetChildNodes ? onGetChildNodes(children) : E_NOTIMPL;
    }
    STDMETHODIMP get_firstChild(IXMLDOMNode** child) override {
        return onGetFirstChild ? onGetFirstChild(child) : E_NOTIMPL;
    }
    STDMETHODIMP get_nextSibling(IXMLDOMNode** sibling) override {
        return onGetNextSibling ? onGetNextSibling(sibling) : E_NOTIMPL;
    }
    STDMETHODIMP get_attributes(IXMLDOMNamedNodeMap** attributes) override {
        return onGetAttributes ? onGetAttributes(attributes) : E_NOTIMPL;
    }
    STDMETHODIMP cloneNode(VARIANT_BOOL, IXMLDOMNode** clone) override {
        return onCloneNode ? onCloneNode(clone) : E_NOTIMPL;
    }
    STDMETHODIMP get_nodeTypedValue(VARIANT* value) override {
        return onGetNodeTypedValue ? onGetNodeTypedValue(value) : E_NOTIMPL;
    }
    STDMETHODIMP put_nodeTypedValue(VARIANT value) override {
        return onPutNodeTypedValue ? onPutNodeTypedValue(value) : E_NOTIMPL;
    }
    STDMETHODIMP selectNodes(BSTR, IXMLDOMNodeList** nodes) override {
        return onSelectNodes ? onSelectNodes(nodes) : E_NOTIMPL;
    }

private:
    LONG m_references = 0;
};

using ScriptedNode = ScriptedNodeBase<NodeStub<IXMLDOMNode>>;

class ScriptedDocument : public ScriptedNodeBase<DocumentStub> {
public:
    std::function<HRESULT(const VARIANT& type, const std::wstring& name,
                          const std::wstring& namespaceUri, IXMLDOMNode** node)>
        onCreateNode;
    std::function<HRESULT(const std::wstring& name, IXMLDOMElement** element)> onCreateElement;
    std::function<HRESULT(IXMLDOMProcessingInstruction** instruction)>
        onCreateProcessingInstruction;
    std::function<HRESULT(const VARIANT& source, VARIANT_BOOL* successful)> onLoad;
    std::function<HRESULT(const std::wstring& text, VARIANT_BOOL* successful)> onLoadXml;
    std::function<HRESULT(const VARIANT& destination)> onSave;
    std::function<HRESULT(const std::wstring& name, const VARIANT& value)> onSetProperty;
    std::function<HRESULT(const std::wstring& name, VARIANT* value)> onGetProperty;
    // Called when the async, resolveExternals or validateOnParse property is set.
    std::function<HRESULT(const char* name, bool value)> onPutFlag;

    // IUnknown
    STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
        const bool document = iid == kIXMLDOMDocument || iid == kIXMLDOMDocument2;
        return ScriptedNodeBase::QueryInterface(document ? IID_IUnknown : iid, object);
    }

    // IXMLDOMDocument
    STDMETHODIMP createNode(VARIANT type, BSTR name, BSTR namespaceUri,
                            IXMLDOMNode** node) override {
        return onCreateNode ? onCreateNode(type, contentsOf(name), contentsOf(namespaceUri), node)
                            : E_NOTIMPL;
    }
    STDMETHODIMP load(VARIANT source, VARIANT_BOOL* successful) override {
        return onLoad ? onLoad(source, successful) : E_NOTIMPL;
    }
    STDMETHODIMP loadXML(BSTR text, VARIANT_BOOL* successful) override {
        return onLoadXml ? onLoadXml(contentsOf(text), successful) : E_NOTIMPL;
    }
    STDMETHODIMP save(VARIANT destination) override {
        return onSave ? onSave(destination) : E_NOTIMPL;
    }
    STDMETHODIMP put_async(VARIANT_BOOL value) override { return putFlag("async", value); }
    STDMETHODIMP put_resolveExternals(VARIANT_BOOL value) override {
        return putFlag("resolveExternals", value);
    }
    STDMETHODIMP put_validateOnParse(VARIANT_BOOL value) override {
        return putFlag("validateOnParse", value);
    }
    STDMETHODIMP createElement(BSTR name, IXMLDOMElement** element) override {
        return onCreateElement ? onCreateElement(contentsOf(name), element) : E_NOTIMPL;
    }
    STDMETHODIMP createProcessingInstruction(BSTR, BSTR,
                                             IXMLDOMProcessingInstruction** instruction) override {
        return onCreateProcessingInstruction ? onCreateProcessingInstruction(instruction)
                                             : E_NOTIMPL;
    }

    // IXMLDOMDocument2
    STDMETHODIMP setProperty(BSTR name, VARIANT value) override {
        return onSetProperty ? onSetProperty(contentsOf(name), value) : E_NOTIMPL;
    }
    STDMETHODIMP getProperty(BSTR name, VARIANT* value) override {
        return onGetProperty ? onGetProperty(contentsOf(name), value) : E_NOTIMPL;
    }

private:
    HRESULT putFlag(const char* name, VARIANT_BOOL value) {
        return onPutFlag ? onPutFlag(name, value != VARIANT_FALSE) : E_NOTIMPL;
    }
};

// A list of nodes. This class is the base class for implementations of IXMLDOMNodeList and
// IXMLDOMNamedNodeMap.
template <class Stub>
class ScriptedListBase : public Stub {
public:
    ScriptedListBase() = default;
    ScriptedListBase(const ScriptedListBase&) = delete;
    ScriptedListBase& operator=(const ScriptedListBase&) = delete;
    virtual ~ScriptedListBase() = default;

    // Returns the number of references that other code holds. The test itself holds no reference.
    LONG references() const { return m_references; }

    std::function<HRESULT(long* length)> onGetLength;
    std::function<HRESULT(IXMLDOMNode** node)> onNextNode;
    std::function<HRESULT()> onReset;  // by default, reset() returns S_OK

    // IUnknown
    STDMETHODIMP QueryInterface(REFIID, void** object) override {
        *object = nullptr;
        return E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override {
        return static_cast<ULONG>(::InterlockedIncrement(&m_references));
    }
    STDMETHODIMP_(ULONG) Release() override {
        return static_cast<ULONG>(::InterlockedDecrement(&m_references));
    }

    // Methods of both IXMLDOMNodeList and IXMLDOMNamedNodeMap
    STDMETHODIMP get_length(long* length) override {
        return onGetLength ? onGetLength(length) : E_NOTIMPL;
    }
    STDMETHODIMP nextNode(IXMLDOMNode** node) override {
        return onNextNode ? onNextNode(node) : E_NOTIMPL;
    }
    STDMETHODIMP reset() override { return onReset ? onReset() : S_OK; }

private:
    LONG m_references = 0;
};

using ScriptedList = ScriptedListBase<ListStub<IXMLDOMNodeList>>;

using ScriptedAttributes = ScriptedListBase<AttributesStub>;

// The following functions create callbacks for the members above. A callback from returnsObject(),
// returnsValue() or returnsText() stores the given result in its last argument and returns S_OK. A
// callback from returnsNothing() stores null in its last argument and returns `hr`.
template <class Object>
auto returnsObject(Object& object) {
    return [&object](const auto&... arguments) {
        const auto all = std::tie(arguments...);
        object.AddRef();
        *std::get<sizeof...(arguments) - 1>(all) = &object;
        return S_OK;
    };
}
template <class Value>
auto returnsValue(Value value) {
    return [value](Value* result) {
        *result = value;
        return S_OK;
    };
}
inline auto returnsText(std::wstring text) {
    return [text = std::move(text)](BSTR* result) {
        *result = ::SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
        return S_OK;
    };
}
inline auto returnsNothing(HRESULT hr) {
    return [hr](auto** result) {
        *result = nullptr;
        return hr;
    };
}

}  // namespace testsupport
