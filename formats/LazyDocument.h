#pragma once

#include <windows.h>

#include <msxml2.h>

#include <string>

#include "dll/atl.h"
#include "platform/Bstr.h"
#include "platform/Dom.h"
#include "platform/UntrustedXml.h"

namespace OrvexClipboard {

/// Owns the document that an object such as `FormatXML` either writes or reads. The first call to
/// `startExport`, `startImport` or `startImportOfText` initializes this object and determines
/// whether the document is written or read. Later calls do nothing. They return true if the
/// initialization succeeded; otherwise false.
///
/// `Interface` is the interface of the document: IXMLDOMDocument or IXMLDOMDocument2.
template <class Interface>
class LazyDocument {
public:
    bool hasStarted() const noexcept { return m_hasStarted; }

    /// Returns true if the initialization has succeeded.
    bool isUsable() const noexcept { return m_isUsable; }

    /// Return the document. Call these operators only after the document has been created.
    Interface& operator*() const noexcept { return *m_document; }
    Interface* operator->() const noexcept { return m_document; }

    /// Specifies whether a document that is loaded after this call keeps the white space between
    /// elements and in text. The default is false.
    void keepWhiteSpace(bool keeps) noexcept { m_keepsWhiteSpace = keeps; }

    /// Creates an empty document for writing, unless the object already has a document.
    bool create() {
        if (m_document) return true;
        const HRESULT hr = platform::dom::createDocument(platform::dom::kDocument30, m_document);
        return SUCCEEDED(hr) && m_document;
    }

    /// Starts writing. `build` adds the first elements to the empty document and returns true on
    /// success.
    template <class Build>
    bool startExport(Build build) {
        return start([&] { return create() && build(); });
    }

    /// Starts reading. The document is loaded from the file or URL `source` or, if `source` is
    /// empty, parsed from `text`. If both arguments are empty, the function fails. After the
    /// document has been loaded, the function calls `locate`, which finds the element that contains
    /// the data, such as the table of a workbook. `locate` returns false if there is no such
    /// element.
    template <class Locate>
    bool startImport(const std::wstring& source, const std::wstring& text, Locate locate) {
        return start([&] {
            if (source.empty() && text.empty()) return false;
            if (!createFor(platform::Contents::markup)) return false;
            const HRESULT hr = source.empty() ? platform::dom::loadText(*m_document, text)
                                              : platform::dom::loadFile(*m_document, source);
            return hr == S_OK && locate();
        });
    }

    /// Starts reading the XML text of `source`. The parser assigns a namespace even to nodes that a
    /// program has added to `source` without a namespace. A copy of `source` would contain these
    /// nodes without a namespace.
    template <class Locate>
    bool startImportOfText(const IXMLDOMDocument& source, Locate locate) {
        return start([&] {
            platform::Bstr text;
            if (FAILED(platform::dom::readXml(source, text))) return false;
            if (!createFor(platform::Contents::document)) return false;
            return platform::dom::loadText(*m_document, text) == S_OK && locate();
        });
    }

    /// Starts reading a copy of `source`.
    template <class Locate>
    bool startImport(IXMLDOMDocument& source, Locate locate) {
        return start([&] {
            return createFor(platform::Contents::document) &&
                   platform::dom::loadObject(*m_document, source) == S_OK && locate();
        });
    }

    /// Copies the document.
    /// @param[out] copy  A new MSXML 3.0 document; the caller owns one reference. Null if the copy
    ///                   fails; unchanged if isUsable() returns false.
    bool exportTo(IXMLDOMDocument2** copy) const {
        if (!m_isUsable || !copy) return false;
        *copy = nullptr;
        ATL::CComPtr<IXMLDOMDocument2> made;
        if (FAILED(platform::copyDocument(platform::dom::kDocument30, *m_document, made)))
            return false;
        *copy = made.Detach();
        return true;
    }

    /// Stores the XML text of the document in `text`.
    /// @param[out] text  Unchanged on failure.
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
        m_hasStarted = true;  // a failed initialization is not retried
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
