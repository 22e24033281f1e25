#pragma once
// While an ObservedDom exists, it replaces the MSXML 3.0 document class. The documents and nodes of
// the replacement report each call to the test and forward the call to MSXML. If the test chooses
// the result of a call, the call is not forwarded. Methods that the library does not call return
// E_NOTIMPL. The thread must have initialized COM (see Apartment.h).
#include <doctest/doctest.h>
#include <windows.h>

#include <msxml2.h>
#include <ole2.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "dll/atl.h"
#include "tests/support/Documents.h"
#include "tests/support/DomStubs.h"
#include "tests/support/InterfaceIds.h"
#include "tests/support/ScriptedClass.h"

namespace testsupport {

class ObservedDom {
public:
    /// Receives the name of the method and its argument, for example "appendChild Portfolio" or
    /// "createNode ItemCode". If the function returns S_OK, the call is forwarded to MSXML. Any
    /// other value becomes the result of the call, and MSXML is not called.
    using CallScript = std::function<HRESULT(const std::wstring& call)>;

    ObservedDom()
        : m_class(kDocument30, [this](REFIID iid, void** object) {
              if (const HRESULT hr = step(L"create"); hr != S_OK) return hr;
              return create(iid, object);
          }) {}
    ObservedDom(const ObservedDom&) = delete;
    ObservedDom& operator=(const ObservedDom&) = delete;

    std::vector<std::wstring> calls;  // all calls, in the order in which the library made them
    CallScript onCall;                // chooses the result of each call
    std::function<void(VARIANT&)> changeTypedValue;
    int objects = 0;  // existing wrappers; 0 after the library has released all references

    /// Makes only the n-th of the following calls return E_FAIL. `n` is one-based.
    void failNth(int n) {
        onCall = [left = n](const std::wstring&) mutable { return --left == 0 ? E_FAIL : S_OK; };
    }
    /// Makes every later call with this method name and argument return `hr`.
    void setResult(std::wstring call, HRESULT hr) {
        onCall = [call = std::move(call), hr](const std::wstring& actualCall) {
            return actualCall == call ? hr : S_OK;
        };
    }

private:
    // A private interface identifier (IID). If this IID is passed to the QueryInterface method of a
    // wrapper, the method returns the wrapped MSXML object.
    static constexpr IID kWrapped = {
        0x0d5f3c1e, 0x5c2b, 0x4e0a, {0x9a, 0x6b, 0x3f, 0x1d, 0x2e, 0x4c, 0x5b, 0x6a}};

    HRESULT step(std::wstring call) {
        calls.push_back(call);
        return onCall ? onCall(call) : S_OK;
    }

    static std::wstring text(const VARIANT& from) {
        return from.vt == VT_BSTR ? contentsOf(from.bstrVal) : std::wstring(L"?");
    }
    static std::wstring shown(VARIANT_BOOL on) { return on ? L" true" : L" false"; }

    template <class Interface>
    static ATL::CComPtr<Interface> unwrapped(Interface* maybeWrapper) {
        ATL::CComPtr<Interface> inner;
        if (!maybeWrapper ||
            FAILED(maybeWrapper->QueryInterface(kWrapped, reinterpret_cast<void**>(&inner))))
            return maybeWrapper;
        return inner;
    }

    /// The base class of the objects that wrap MSXML objects. `Stub` implements the methods that
    /// the library does not call.
    template <class Stub>
    class Wrapper : public Stub {
    public:
        using Interface = typename Stub::Implemented;

        Wrapper(ObservedDom& dom, Interface* inner) : m_dom(dom), m_inner(inner) {
            ++m_dom.objects;
        }
        Wrapper(const Wrapper&) = delete;
        Wrapper& operator=(const Wrapper&) = delete;

        // IUnknown
        STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
            if (iid == kWrapped) {
                *object = static_cast<Interface*>(m_inner);
                m_inner.p->AddRef();
                return S_OK;
            }
            // The wrapper supports an interface only if it is in the following list and the MSXML
            // object supports it.
            ATL::CComPtr<IUnknown> known;
            *object = nullptr;
            const bool isListed = iid == IID_IUnknown || iid == IID_IDispatch ||
                                  iid == kIXMLDOMNode || iid == kIXMLDOMNodeList ||
                                  iid == kIXMLDOMElement || iid == kIXMLDOMDocument ||
                                  iid == kIXMLDOMDocument2;
            if (!isListed) return E_NOINTERFACE;
            const HRESULT hr = m_inner->QueryInterface(iid, reinterpret_cast<void**>(&known));
            if (FAILED(hr)) return hr;
            *object = static_cast<Interface*>(this);
            AddRef();
            return S_OK;
        }
        STDMETHODIMP_(ULONG) AddRef() override { return ++m_references; }
        STDMETHODIMP_(ULONG) Release() override {
            const ULONG left = --m_references;
            if (left == 0) delete this;
            return left;
        }

    protected:
        virtual ~Wrapper() { --m_dom.objects; }

        /// Reports the call to the test. Calls `make` to forward the call, unless the test has
        /// chosen the result of the call.
        template <class Call>
        HRESULT pass(std::wstring call, Call&& make) {
            const HRESULT hr = m_dom.step(std::move(call));
            return hr == S_OK ? make() : hr;
        }
        /// Does the same as pass(), and wraps the node or list that the call returns.
        template <class Result, class Call>
        HRESULT passWrapped(std::wstring call, Result** result, Call&& make) {
            if (result) *result = nullptr;
            return pass(std::move(call), [&] {
                ATL::CComPtr<Result> inner;
                const HRESULT hr = make(&inner);
                if (inner && result) *result = m_dom.wrap(inner.p);
                return hr;
            });
        }

        ObservedDom& m_dom;
        ATL::CComPtr<Interface> m_inner;

    private:
        ULONG m_references = 1;  // the receiver's reference
    };

    class List final : public Wrapper<ListStub<IXMLDOMNodeList>> {
    public:
        using Wrapper::Wrapper;
        STDMETHODIMP get_length(long* length) override {
            return pass(L"get_length", [&] { return m_inner->get_length(length); });
        }
        STDMETHODIMP nextNode(IXMLDOMNode** next) override {
            return passWrapped(L"nextNode", next,
                               [&](IXMLDOMNode** inner) { return m_inner->nextNode(inner); });
        }
    };

    template <class Stub>
    class Node : public Wrapper<Stub> {
    public:
        using Wrapper<Stub>::Wrapper;

        // IXMLDOMNode
        STDMETHODIMP get_nodeName(BSTR* name) override {
            return this->pass(L"get_nodeName", [&] { return m_inner->get_nodeName(name); });
        }
        STDMETHODIMP get_nodeValue(VARIANT* value) override {
            return this->pass(L"get_nodeValue", [&] { return m_inner->get_nodeValue(value); });
        }
        STDMETHODIMP get_nodeType(DOMNodeType* type) override {
            return this->pass(L"get_nodeType", [&] { return m_inner->get_nodeType(type); });
        }
        STDMETHODIMP get_childNodes(IXMLDOMNodeList** list) override {
            return this->passWrapped(L"get_childNodes", list, [&](IXMLDOMNodeList** inner) {
                return m_inner->get_childNodes(inner);
            });
        }
        STDMETHODIMP get_firstChild(IXMLDOMNode** child) override {
            return this->passWrapped(L"get_firstChild", child, [&](IXMLDOMNode** inner) {
                return m_inner->get_firstChild(inner);
            });
        }
        STDMETHODIMP get_nextSibling(IXMLDOMNode** sibling) override {
            return this->passWrapped(L"get_nextSibling", sibling, [&](IXMLDOMNode** inner) {
                return m_inner->get_nextSibling(inner);
            });
        }
        STDMETHODIMP appendChild(IXMLDOMNode* child, IXMLDOMNode** appended) override {
            const auto inner = unwrapped(child);
            return this->passWrapped(
                L"appendChild " + nameOf(*inner), appended,
                [&](IXMLDOMNode** result) { return m_inner->appendChild(inner, result); });
        }
        STDMETHODIMP cloneNode(VARIANT_BOOL deep, IXMLDOMNode** clone) override {
            return this->passWrapped(L"cloneNode", clone, [&](IXMLDOMNode** inner) {
                return m_inner->cloneNode(deep, inner);
            });
        }
        STDMETHODIMP get_text(BSTR* value) override {
            return this->pass(L"get_text", [&] { return m_inner->get_text(value); });
        }
        STDMETHODIMP put_text(BSTR value) override {
            return this->pass(L"put_text " + contentsOf(value),
                              [&] { return m_inner->put_text(value); });
        }
        STDMETHODIMP get_nodeTypedValue(VARIANT* value) override {
            return this->pass(L"get_nodeTypedValue", [&] {
                const HRESULT hr = m_inner->get_nodeTypedValue(value);
                if (this->m_dom.changeTypedValue) this->m_dom.changeTypedValue(*value);
                return hr;
            });
        }
        STDMETHODIMP put_nodeTypedValue(VARIANT value) override {
            return this->pass(L"put_nodeTypedValue " + text(value),
                              [&] { return m_inner->put_nodeTypedValue(value); });
        }
        STDMETHODIMP get_xml(BSTR* xml) override {
            return this->pass(L"get_xml", [&] { return m_inner->get_xml(xml); });
        }
        STDMETHODIMP selectNodes(BSTR query, IXMLDOMNodeList** list) override {
            return this->passWrapped(
                L"selectNodes " + contentsOf(query), list,
                [&](IXMLDOMNodeList** inner) { return m_inner->selectNodes(query, inner); });
        }
        STDMETHODIMP selectSingleNode(BSTR query, IXMLDOMNode** node) override {
            return this->passWrapped(
                L"selectSingleNode " + contentsOf(query), node,
                [&](IXMLDOMNode** inner) { return m_inner->selectSingleNode(query, inner); });
        }

    protected:
        using Wrapper<Stub>::m_inner;
    };

    class Element final : public Node<ElementStub> {
    public:
        using Node::Node;
        STDMETHODIMP setAttribute(BSTR name, VARIANT value) override {
            return pass(L"setAttribute " + contentsOf(name) + L" " + text(value),
                        [&] { return m_inner->setAttribute(name, value); });
        }
    };

    class OtherNode final : public Node<NodeStub<IXMLDOMNode>> {
    public:
        using Node::Node;
    };

    class Document final : public Node<DocumentStub> {
    public:
        using Node::Node;

        // IXMLDOMDocument
        STDMETHODIMP get_documentElement(IXMLDOMElement** root) override {
            return passWrapped(L"get_documentElement", root, [&](IXMLDOMElement** inner) {
                return m_inner->get_documentElement(inner);
            });
        }
        STDMETHODIMP putref_documentElement(IXMLDOMElement* root) override {
            const auto inner = unwrapped(root);
            return pass(L"putref_documentElement " + nameOf(*inner),
                        [&] { return m_inner->putref_documentElement(inner); });
        }
        STDMETHODIMP createElement(BSTR name, IXMLDOMElement** element) override {
            return passWrapped(
                L"createElement " + contentsOf(name), element,
                [&](IXMLDOMElement** inner) { return m_inner->createElement(name, inner); });
        }
        /// Returns the MSXML object without a wrapper, because the library only appends this object
        /// to the document.
        STDMETHODIMP createProcessingInstruction(
            BSTR target, BSTR data, IXMLDOMProcessingInstruction** instruction) override {
            return pass(L"createProcessingInstruction " + contentsOf(target), [&] {
                return m_inner->createProcessingInstruction(target, data, instruction);
            });
        }
        STDMETHODIMP createNode(VARIANT type, BSTR name, BSTR uri, IXMLDOMNode** node) override {
            return passWrapped(L"createNode " + contentsOf(name), node, [&](IXMLDOMNode** inner) {
                return m_inner->createNode(type, name, uri, inner);
            });
        }
        STDMETHODIMP load(VARIANT source, VARIANT_BOOL* loaded) override {
            ATL::CComPtr<IUnknown> inner;
            if (source.vt == VT_UNKNOWN) {
                inner = unwrapped(source.punkVal);
                source.punkVal = inner;
            }
            return pass(L"load", [&] { return m_inner->load(source, loaded); });
        }
        STDMETHODIMP put_async(VARIANT_BOOL on) override {
            return pass(L"put_async" + shown(on), [&] { return m_inner->put_async(on); });
        }
        STDMETHODIMP loadXML(BSTR xml, VARIANT_BOOL* loaded) override {
            return pass(L"loadXML", [&] { return m_inner->loadXML(xml, loaded); });
        }
        STDMETHODIMP put_validateOnParse(VARIANT_BOOL on) override {
            return pass(L"put_validateOnParse" + shown(on),
                        [&] { return m_inner->put_validateOnParse(on); });
        }
        STDMETHODIMP put_resolveExternals(VARIANT_BOOL on) override {
            return pass(L"put_resolveExternals" + shown(on),
                        [&] { return m_inner->put_resolveExternals(on); });
        }

        // IXMLDOMDocument2
        STDMETHODIMP setProperty(BSTR name, VARIANT value) override {
            return pass(L"setProperty " + contentsOf(name) + L" " + text(value),
                        [&] { return m_inner->setProperty(name, value); });
        }
        STDMETHODIMP getProperty(BSTR name, VARIANT* value) override {
            return pass(L"getProperty " + contentsOf(name),
                        [&] { return m_inner->getProperty(name, value); });
        }
    };

    // The following functions return a wrapper with one reference, which the caller owns.
    IXMLDOMNodeList* wrap(IXMLDOMNodeList* inner) { return new List(*this, inner); }
    IXMLDOMElement* wrap(IXMLDOMElement* inner) { return new Element(*this, inner); }
    IXMLDOMNode* wrap(IXMLDOMNode* inner) {
        ATL::CComPtr<IXMLDOMElement> element;
        if (SUCCEEDED(inner->QueryInterface(kIXMLDOMElement, reinterpret_cast<void**>(&element))))
            return wrap(element.p);
        return new OtherNode(*this, inner);
    }

    /// Creates an MSXML document and wraps it. Calls MSXML's DllGetClassObject, because
    /// CoCreateInstance would create a document of the replacement class.
    HRESULT create(REFIID iid, void** object) {
        using GetClassObject = HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**);
        static const HMODULE msxml = ::LoadLibraryW(L"msxml3.dll");
        const auto getClassObject = reinterpret_cast<GetClassObject>(
            reinterpret_cast<void*>(::GetProcAddress(msxml, "DllGetClassObject")));
        ATL::CComPtr<IClassFactory> factory;
        ATL::CComPtr<IXMLDOMDocument2> inner;
        HRESULT hr =
            getClassObject(kDocument30, IID_IClassFactory, reinterpret_cast<void**>(&factory));
        if (SUCCEEDED(hr))
            hr = factory->CreateInstance(nullptr, kIXMLDOMDocument2,
                                         reinterpret_cast<void**>(&inner));
        if (FAILED(hr)) return hr;
        ATL::CComPtr<IXMLDOMDocument2> wrapper;
        wrapper.Attach(new Document(*this, inner));
        return wrapper->QueryInterface(iid, object);
    }

    ScriptedClass m_class;
};

}  // namespace testsupport
