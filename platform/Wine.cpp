#include "platform/Wine.h"

#include <algorithm>
#include <atomic>
#include <cwchar>
#include <utility>

#include "platform/Dom.h"

namespace platform::wine {

namespace {

bool isForbiddenInXml(wchar_t c) noexcept {
    return (c < L' ' && c != L'\t' && c != L'\n' && c != L'\r') || c >= 0xFFFE;
}

DOMNodeType typeOf(IXMLDOMNode& node) noexcept {
    DOMNodeType type = NODE_INVALID;
    return node.get_nodeType(&type) == S_OK ? type : NODE_INVALID;
}

// Returns true if the virtual function table of `object` is in the loaded library `name`. A COM
// object starts with a pointer to this table.
bool isImplementedBy(const wchar_t* name, IUnknown& object) noexcept {
    const auto methods = *reinterpret_cast<const wchar_t* const*>(&object);
    HMODULE library = nullptr;
    return ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                                    GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                                methods, &library) &&
           library == ::GetModuleHandleW(name);
}

// Returns the identifier of the locale with this name, or 0 if there is no such locale. Names are
// compared case-insensitively.
LCID identifierOf(const wchar_t* name) noexcept {
    // Ignore sort orders and the invariant locale. The name of a sort order contains "_". The name
    // of the invariant locale is empty.
    if (!name || *name == L'\0' || std::wcschr(name, L'_')) return 0;
    // Without LOCALE_ALLOW_NEUTRAL_NAMES, the result for "zh-Hans" would be the identifier of
    // "zh-CN".
    const LCID found = ::LocaleNameToLCID(name, LOCALE_ALLOW_NEUTRAL_NAMES);
    if (found == LOCALE_CUSTOM_UNSPECIFIED) return 0;
    // The identifier may belong to a locale with a similar name, so compare the names.
    wchar_t own[LOCALE_NAME_MAX_LENGTH];
    const bool isSame =
        found != 0 &&
        ::LCIDToLocaleName(found, own, LOCALE_NAME_MAX_LENGTH, LOCALE_ALLOW_NEUTRAL_NAMES) != 0 &&
        ::CompareStringOrdinal(name, -1, own, -1, TRUE) == CSTR_EQUAL;
    return isSame ? found : 0;
}

}  // namespace

bool isRunning() noexcept {
    // Under Wine, ntdll.dll exports wine_get_version. Do not store the result in a static variable
    // with a dynamic initializer, because the guard of the variable may allocate memory, and this
    // function must not fail.
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

bool isMsxmlObject(IUnknown& object) noexcept {
    return isRunning() && isImplementedBy(L"msxml3.dll", object);
}

HRESULT getLcidFromRfc1766(IMultiLanguage& service, const Bstr& tag, unsigned long& lcid) noexcept {
    const HRESULT hr = service.GetLcidFromRfc1766(&lcid, tag.get());
    if (hr != E_FAIL || !isRunning() || !isImplementedBy(L"mlang.dll", service)) return hr;
    const LCID found = identifierOf(tag.get());
    if (found == 0) return hr;
    lcid = found;
    return S_OK;
}

HRESULT putTypedText(IXMLDOMNode& element, const Variant& text) noexcept {
    const std::wstring_view characters = text.text();
    if (characters.find(L'&') == characters.npos || !isMsxmlObject(element))
        return element.put_nodeTypedValue(text.get());
    if (std::any_of(characters.begin(), characters.end(), isForbiddenInXml)) return E_INVALIDARG;
    return element.put_text(text.get().bstrVal);
}

HRESULT readTypedValue(IXMLDOMNode& node, Variant& value) noexcept {
    const HRESULT hr = node.get_nodeTypedValue(value.receive());
    if (hr != S_OK || value.get().vt != VT_BSTR || !isMsxmlObject(node) ||
        typeOf(node) != NODE_TEXT)
        return hr;
    Variant whole;
    if (node.get_nodeValue(whole.receive()) == S_OK) value = std::move(whole);
    return hr;
}

HRESULT selectChildElement(IXMLDOMNode& node, std::wstring_view name,
                           ATL::CComPtr<IXMLDOMNode>& found) {
    if (isMsxmlObject(node)) {
        found.Release();
        HRESULT hr = node.get_firstChild(&found);
        while (hr == S_OK && found) {
            Bstr own;
            if (found->get_nodeName(own.receive()) == S_OK && own.view() == name &&
                typeOf(*found) == NODE_ELEMENT)
                return S_OK;
            ATL::CComPtr<IXMLDOMNode> next;
            hr = found->get_nextSibling(&next);
            found = std::move(next);
        }
    }
    return dom::selectSingleNode(node, name, found);
}

}  // namespace platform::wine
