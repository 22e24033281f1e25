#pragma once

#include <windows.h>

#include <msxml2.h>

#include <string>

#include "dll/atl.h"
#include "platform/Bstr.h"
#include "platform/Dom.h"
#include "platform/UntrustedXml.h"

namespace OrvexClipboard {

/// The document of an object that either writes one document or reads one. The first start decides
/// which; a later start does nothing and returns the result of the first one.
///
/// `Interface` is the interface that the document is created with: IXMLDOMDocument or
/// IXMLDOMDocument2.
template <class Interface>
class StartedDocument {
public:
    bool hasStarted() const noexcept { return m_hasStarted; }

    /// Whether a start has succeeded: the document can be written or read, and exported.
    bool isUsable() const noexcept { return m_isUsable; }

    /// The document. Only after a start has created it.
    Interface& operator*() const noexcept { return *m_document; }
    Interface* operator->() const noexcept { return m_document; }

    /// Keeps the white space of a document that is read from now on, between elements and in texts.
    void keepWhiteSpace(bool keeps) noexcept { m_keepsWhiteSpace = keeps; }

    /// Creates an empty document for writing, unless there is one.
    bool create() {
        if (m_document) return true;
        const HRESULT hr = platform::dom::createDocument(platform::dom::kDocument30, m_document);
        return SUCCEEDED(hr) && m_document;
    }

    /// Starts writing. `build` puts the first elements into the empty document and returns whether
    /// it succeeded.
    template <class Build>
    bool startExport(Build build) {
        return start([&] { return create() && build(); });
    }

    /// Starts reading from the file or URL `source` or, if that is empty, from the XML text. If
    /// both are empty, the start fails. `locate` finds the contents in the loaded document and
    /// returns whether they exist.
    template <class Locate>
    bool startImport(const std::wstring& source, const std::wstring& text, Locate locate) {
        return start([&] {
            if (source.empty() && text.empty()) return false;
            if (!createFor(platform::Contents::markup)) return false;
            bool loaded = false;
            const HRESULT hr = source.empty()
                                   ? platform::dom::loadText(*m_document, text, loaded)
                                   : platform::dom::loadFile(*m_document, source, loaded);
            return hr == S_OK && loaded && locate();
        });
    }

    /// Starts reading the XML text of `source`. Unlike a copy, every node has its namespace then.
    template <class Locate>
    bool startImportOfText(const IXMLDOMDocument& source, Locate locate) {
        return start([&] {
            platform::Bstr text;
            if (FAILED(platform::dom::readXml(source, text))) return false;
            if (!createFor(platform::Contents::document)) return false;
            bool loaded = false;
            const HRESULT hr = platform::dom::loadText(*m_document, text, loaded);
            return hr == S_OK && loaded && locate();
        });
    }

    /// Starts reading a copy of `source`.
    template <class Locate>
    bool startImport(IXMLDOMDocument& source, Locate locate) {
        return start([&] {
            if (!createFor(platform::Contents::document)) return false;
            bool loaded = false;
            const HRESULT hr = platform::dom::loadObject(*m_document, source, loaded);
            return hr == S_OK && loaded && locate();
        });
    }

    /// Copies the document.
    /// @param[out] copy  The caller owns one reference. Null if the copy fails; untouched if there
    ///                   is no usable document.
    bool exportTo(IXMLDOMDocument2** copy) const {
        if (!m_isUsable || !copy) return false;
        *copy = nullptr;
        ATL::CComPtr<IXMLDOMDocument2> made;
        if (FAILED(platform::copyDocument(platform::dom::kDocument30, *m_document, made)))
            return false;
        *copy = made.Detach();
        return true;
    }

    /// Reads the document's XML text.
    /// @param[out] text  Untouched on failure.
    bool exportTo(std::wstring& text) const {
        if (!m_isUsable) return false;
        platform::Bstr xml;
        if (FAILED(platform::dom::readXml(*m_document, xml))) return false;
        text = xml.view();
        return true;
    }

private:
    template <class Step>
    bool start(Step step) {
        if (m_hasStarted) return m_isUsable;
        m_hasStarted = true;  // before the first failure or exception: there is no second start
        m_isUsable = step();
        return m_isUsable;
    }

    bool createFor(platform::Contents contents) {
        if (FAILED(platform::createUntrustedDocument(platform::dom::kDocument30, contents,
                                                     m_document)))
            return false;
        if (m_keepsWhiteSpace) m_document->put_preserveWhiteSpace(VARIANT_TRUE);
        return true;
    }

    ATL::CComPtr<Interface> m_document;
    bool m_hasStarted = false;
    bool m_isUsable = false;
    bool m_keepsWhiteSpace = false;
};

}  // namespace OrvexClipboard
