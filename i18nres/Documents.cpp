#include <windows.h>

#include <msxml2.h>
#include <ole2.h>

#include <climits>
#include <cstddef>
#include <cstring>
#include <list>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "dll/atl.h"
#include "i18nres/CultureTag.h"
#include "i18nres/Manager.h"
#include "i18nres/ResourceBlock.h"
#include "i18nres/Satellites.h"
#include "platform/Bstr.h"
#include "platform/ComError.h"
#include "platform/CriticalSectionLock.h"
#include "platform/Dom.h"
#include "platform/Variant.h"

namespace i18nres {

namespace {

using platform::Bstr;
using platform::Variant;

std::optional<ResourceBlock> findResource(ModuleRecord* record, unsigned short id,
                                          const wchar_t* type) noexcept {
    if (id == 0) return std::nullopt;
    return searchLibraries(record, [&](HINSTANCE library) {
        return ResourceBlock::find(library, MAKEINTRESOURCEW(id), type);
    });
}

Bstr bstrOfLength(std::size_t length) {
    Bstr text = Bstr::ofLength(length);
    if (!text.get()) platform::throwComError(E_OUTOFMEMORY);
    return text;
}

/// Converts text from a code page to UTF-16. Returns a null Bstr if MultiByteToWideChar cannot
/// convert the bytes.
Bstr fromCodePage(UINT codePage, DWORD flags, std::string_view bytes) {
    const int length = static_cast<int>(bytes.size());
    const int wideLength = ::MultiByteToWideChar(codePage, flags, bytes.data(), length, nullptr, 0);
    if (wideLength == 0 && length > 0) return {};
    Bstr text = bstrOfLength(static_cast<std::size_t>(wideLength));
    ::MultiByteToWideChar(codePage, flags, bytes.data(), length, text.get(), wideLength);
    return text;
}

/// Copies UTF-16 text. Returns a null Bstr if the number of bytes is odd.
Bstr fromUtf16(bool isBigEndian, std::string_view bytes) {
    if (bytes.size() % sizeof(wchar_t) != 0) return {};
    const std::size_t length = bytes.size() / sizeof(wchar_t);
    Bstr text = bstrOfLength(length);
    std::memcpy(text.get(), bytes.data(), bytes.size());
    if (isBigEndian) {
        for (wchar_t& unit : std::span(text.get(), length)) {
            unit = static_cast<wchar_t>(unit << 8 | unit >> 8);
        }
    }
    return text;
}

/// Copies the text of an XML resource. If the text begins with a byte order mark, the mark
/// specifies the encoding. Otherwise, the text is in the ANSI code page of the thread, not of the
/// system.
/// @return a null Bstr if the text is not valid in the encoding that its byte order mark specifies.
Bstr copyText(const ResourceBlock& resource) {
    constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF", kUtf16Mark = "\xFF\xFE",
                               kUtf16BigEndianMark = "\xFE\xFF";
    const std::string_view bytes(reinterpret_cast<const char*>(resource.data), resource.size);
    if (bytes.starts_with(kUtf8Mark)) {
        return fromCodePage(CP_UTF8, MB_ERR_INVALID_CHARS, bytes.substr(kUtf8Mark.size()));
    }
    if (bytes.starts_with(kUtf16Mark)) return fromUtf16(false, bytes.substr(kUtf16Mark.size()));
    if (bytes.starts_with(kUtf16BigEndianMark)) {
        return fromUtf16(true, bytes.substr(kUtf16BigEndianMark.size()));
    }
    return fromCodePage(CP_THREAD_ACP, 0, bytes);
}

HRESULT makeDocument(ModuleRecord* record, unsigned short id, REFCLSID documentClass,
                     IXMLDOMDocument2*& doc) {
    const auto resource = findResource(record, id, L"XML");
    if (!resource || !resource->data) return E_FAIL;
    if (resource->size > INT_MAX) platform::throwComError(E_INVALIDARG);
    if (!resource->hasValidBounds()) return E_FAIL;
    // Copy the text before the document is created. While COM creates the document, it may dispatch
    // a call to this thread. If this call sets another culture, the satellite that contains the
    // resource is freed.
    const Bstr text = copyText(*resource);
    if (!text.get()) return E_FAIL;

    ATL::CComPtr<IXMLDOMDocument2> document;
    if (FAILED(platform::dom::createDocument(documentClass, document)) || !document) return E_FAIL;
    if (platform::dom::loadText(*document, text) != S_OK) return E_FAIL;

    // The constructors of Bstr and Variant may throw. Call them before the document is detached, so
    // that an exception does not leak the document. The caller receives the document even if the
    // query language cannot be set.
    const Bstr property(L"SelectionLanguage");
    const Variant language(L"XPath");
    doc = document.Detach();
    return doc->setProperty(property.get(), language.get());
}

HRESULT readText(IXMLDOMNode& node, const std::wstring& query, BSTR& value) {
    ATL::CComPtr<IXMLDOMNode> found;
    HRESULT hr = platform::dom::selectSingleNode(node, query, found);
    if (hr != S_OK) return E_FAIL;
    Bstr text;
    hr = found->get_text(text.receive());
    if (hr != S_OK) return E_FAIL;
    value = text.detach();
    return S_OK;
}

}  // namespace

HRESULT Manager::loadHTMLDocumentFromResource(const wchar_t* module, unsigned short id,
                                              std::string& out) {
    out.clear();
    const platform::CriticalSectionLock lock(m_lock.m_sec);
    const auto page = findResource(resolve(module, false), id, RT_HTML);
    if (!page || !page->data || !page->hasValidBounds()) return E_FAIL;
    out.assign(reinterpret_cast<const char*>(page->data), page->size);
    return S_OK;
}

HRESULT Manager::loadXMLDocumentFromResource(const wchar_t* module, unsigned short id,
                                             IXMLDOMDocument2*& doc) {
    doc = nullptr;
    const platform::CriticalSectionLock lock(m_lock.m_sec);
    return makeDocument(resolve(module, false), id, platform::dom::kDocument30, doc);
}

HRESULT Manager::loadXML6DocumentFromResource(const wchar_t* module, unsigned short id,
                                              IXMLDOMDocument2*& doc) {
    doc = nullptr;
    const platform::CriticalSectionLock lock(m_lock.m_sec);
    return makeDocument(resolve(module, false), id, platform::dom::kDocument60, doc);
}

HRESULT Manager::getLocalizedNodeValue(IXMLDOMNode* node, const wchar_t* const name, BSTR* value) {
    if (!value) return E_POINTER;
    *value = nullptr;
    if (!node || !name) return E_INVALIDARG;

    std::list<std::wstring> tags;
    {
        const platform::CriticalSectionLock lock(m_lock.m_sec);
        _getNormalizeCultureList(tags);
    }
    // Do not hold the lock here. If the node belongs to another apartment, the query waits for the
    // thread of that apartment, and that thread may be waiting for the lock.
    const std::wstring child = std::wstring(L"./") + name;
    for (const std::wstring& tag : tags) {
        if (!isPlainTag(tag)) continue;
        std::wstring query = child;
        query.append(L"[@xml:lang='").append(tag).append(L"']");
        if (readText(*node, query, *value) == S_OK) return S_OK;
    }
    return readText(*node, child, *value);
}

}  // namespace i18nres
