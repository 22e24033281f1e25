#include "platform/Wine.h"
#include "platform/Dom.h"

#include <algorithm>
#include <atomic>
#include <cwchar>
#include <string>
#include <string_view>
#include <utility>

namespace platform::wine {

namespace {

bool isForbiddenInXml(wchar_t c) noexcept {
    return (c < L' ' && c != L'\t' && c != L'\n' && c != L'\r') || c >= 0xFFFE;
}

// How deep below the document's element a long list is looked for: two levels in an instrument
// document or a workbook.
constexpr int kListLevels = 2;
constexpr long kLongList = 256;

DOMNodeType typeOf(IXMLDOMNode& node) noexcept {
    DOMNodeType type = NODE_INVALID;
    return node.get_nodeType(&type) == S_OK ? type : NODE_INVALID;
}

/// Calls `use` with each child until it answers false.
/// @return whether all were used.
template <class Use>
bool forEachChild(IXMLDOMNode& node, Use&& use) {
    ATL::CComPtr<IXMLDOMNode> child;
    HRESULT hr = node.get_firstChild(&child);
    while (hr == S_OK && child) {
        if (!use(*child)) return false;
        ATL::CComPtr<IXMLDOMNode> next;
        hr = child->get_nextSibling(&next);
        child = std::move(next);
    }
    return SUCCEEDED(hr);
}

bool holdsLongList(IXMLDOMNode& element, int levels) {
    ATL::CComPtr<IXMLDOMNodeList> children;
    long count = 0;
    if (FAILED(element.get_childNodes(&children)) || !children) return false;
    if (children->get_length(&count) == S_OK && count > kLongList) return true;
    return levels > 0 && !forEachChild(element, [levels](IXMLDOMNode& child) {
               return typeOf(child) != NODE_ELEMENT || !holdsLongList(child, levels - 1);
           });
}

bool appendXml(IXMLDOMNode& node, std::wstring& text) {
    Bstr own;
    if (node.get_xml(own.receive()) != S_OK) return false;
    text += own.view();
    return true;
}

/// Appends the text of `element`, that of a long list in it child by child.
/// @return false when the document has to be read as a whole.
bool appendElement(IXMLDOMNode& element, int levels, std::wstring& text) {
    if (!holdsLongList(element, levels)) return appendXml(element, text);

    ATL::CComPtr<IXMLDOMNode> alone;  // with its attributes, without its children: <Name .../>
    if (FAILED(element.cloneNode(VARIANT_FALSE, &alone)) || !alone || !appendXml(*alone, text))
        return false;
    constexpr std::wstring_view kEmptyEnd = L"/>";
    if (!text.ends_with(kEmptyEnd)) return false;
    text.replace(text.size() - kEmptyEnd.size(), kEmptyEnd.size(), L">\r\n");

    const bool complete = forEachChild(element, [&text, levels](IXMLDOMNode& child) {
        const DOMNodeType type = typeOf(child);
        const bool isRead =
            type == NODE_ELEMENT && levels > 0 ? appendElement(child, levels - 1, text)
            : type == NODE_ELEMENT || type == NODE_COMMENT || type == NODE_PROCESSING_INSTRUCTION
                ? appendXml(child, text)
                : false;
        text += L"\r\n";
        return isRead;
    });
    Bstr name;
    if (!complete || element.get_nodeName(name.receive()) != S_OK) return false;
    text.append(L"</").append(name.view()).append(L">");
    return true;
}

/// Appends the text of a processing instruction. Not through its `xml` property: that of an XML
/// declaration takes the declaration out of its document.
bool appendInstruction(IXMLDOMNode& instruction, std::wstring& text) {
    Bstr target;
    Variant data;
    if (instruction.get_nodeName(target.receive()) != S_OK ||
        instruction.get_nodeValue(data.receive()) != S_OK)
        return false;
    text.append(L"<?").append(target.view()).append(L" ").append(data.text()).append(L"?>");
    return true;
}

}  // namespace

bool isRunning() noexcept {
    // Wine's own documented mark: its ntdll exports the version of Wine.
    // No guarded initialisation: it may need memory, and this must not fail.
    enum : int { kUnknown, kNo, kYes };
    static constinit std::atomic<int> s_running{kUnknown};
    int running = s_running.load(std::memory_order_relaxed);
    if (running == kUnknown) {
        running =
            ::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "wine_get_version") ? kYes : kNo;
        s_running.store(running, std::memory_order_relaxed);
    }
    return running == kYes;
}

bool isOfMsxml(IUnknown& object) noexcept {
    if (!isRunning()) return false;
    const auto methods = *reinterpret_cast<const wchar_t* const*>(&object);
    HMODULE library = nullptr;
    return ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                                    GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                                methods, &library) &&
           library == ::GetModuleHandleW(L"msxml3.dll");
}

HRESULT completeLcidFromRfc1766(HRESULT answer, HMODULE service, const wchar_t* tag,
                                unsigned long& lcid) noexcept {
    if (answer != E_FAIL || !isRunning()) return answer;
    if (!service || service != ::GetModuleHandleW(L"mlang.dll")) return answer;
    // A name with "_" names a sort order. The empty name is the invariant locale's.
    if (*tag == L'\0' || std::wcschr(tag, L'_')) return answer;

    // Without the flag "zh-Hans" would give the identifier of "zh-CN".
    const LCID found = ::LocaleNameToLCID(tag, LOCALE_ALLOW_NEUTRAL_NAMES);
    if (found == 0 || found == LOCALE_CUSTOM_UNSPECIFIED) return answer;
    // The way back shows whether the name was taken as it stands.
    wchar_t name[LOCALE_NAME_MAX_LENGTH];
    if (::LCIDToLocaleName(found, name, LOCALE_NAME_MAX_LENGTH, LOCALE_ALLOW_NEUTRAL_NAMES) == 0 ||
        ::CompareStringOrdinal(tag, -1, name, -1, TRUE) != CSTR_EQUAL)
        return answer;

    lcid = found;
    return S_OK;
}

HRESULT load(IXMLDOMDocument& document, const Variant& source, VARIANT_BOOL* successful) noexcept {
    ATL::CComPtr<IXMLDOMDocument> sourceDocument;
    if (source.get().vt == VT_UNKNOWN)
        source.get().punkVal->QueryInterface(dom::kIXMLDOMDocument,
                                             reinterpret_cast<void**>(&sourceDocument));
    if (!sourceDocument) return document.load(source.get(), successful);

    const ULONG before = sourceDocument.p->AddRef();
    const HRESULT hr = document.load(source.get(), successful);
    const ULONG after = sourceDocument.p->Release() + 1;
    if (after > before) sourceDocument.p->Release();
    return hr;
}

bool readLongXml(IXMLDOMNode& document, Bstr& text) {
    if (typeOf(document) != NODE_DOCUMENT) return false;
    bool hasLongList = false;
    std::wstring composed;
    const bool complete = forEachChild(document, [&](IXMLDOMNode& child) {
        switch (typeOf(child)) {
            case NODE_ELEMENT:
                hasLongList = holdsLongList(child, kListLevels);
                if (!hasLongList || !appendElement(child, kListLevels, composed)) return false;
                break;
            case NODE_PROCESSING_INSTRUCTION:
                if (!appendInstruction(child, composed)) return false;
                break;
            case NODE_COMMENT:
                if (!appendXml(child, composed)) return false;
                break;
            default:
                return false;
        }
        composed += L"\r\n";
        return true;
    });
    if (!complete || !hasLongList) return false;
    text = Bstr(composed);
    return true;
}

bool findChildElement(IXMLDOMNode& node, std::wstring_view name,
                      ATL::CComPtr<IXMLDOMNode>& found) noexcept {
    found.Release();
    if (!isOfMsxml(node)) return false;
    forEachChild(node, [&](IXMLDOMNode& child) {
        Bstr own;
        const bool isMeant = child.get_nodeName(own.receive()) == S_OK && own.view() == name &&
                             typeOf(child) == NODE_ELEMENT;
        if (isMeant) found = &child;
        return !isMeant;
    });
    return found;
}

HRESULT putTypedText(IXMLDOMNode& element, const Variant& text) noexcept {
    const std::wstring_view characters = text.text();
    if (characters.find(L'&') == characters.npos) return element.put_nodeTypedValue(text.get());
    if (std::any_of(characters.begin(), characters.end(), isForbiddenInXml)) return E_INVALIDARG;
    return element.put_text(text.get().bstrVal);
}

void completeTypedText(IXMLDOMNode& node, Variant& value) noexcept {
    if (value.get().vt != VT_BSTR || typeOf(node) != NODE_TEXT) return;
    Variant whole;
    if (node.get_nodeValue(whole.receive()) == S_OK) value = std::move(whole);
}

}  // namespace platform::wine
