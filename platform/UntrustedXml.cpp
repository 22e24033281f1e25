#include "platform/UntrustedXml.h"

#include <string_view>

#include "dll/atl.h"
#include "platform/Bstr.h"
#include "platform/Dom.h"
#include "platform/Variant.h"

namespace platform {

namespace {

// A limit that is off reads as FALSE or 0. The property is not touched where the class does not
// know it (Wine's documents and documents made before it came) or has it on already.
void switchOn(IXMLDOMDocument2& document, std::wstring_view limit, const VARIANT& value) {
    const Bstr name(limit);
    Variant present;
    VARIANT* const isOn = present.receive();
    if (document.getProperty(name.get(), isOn) == S_OK &&
        ::VariantChangeType(isOn, isOn, 0, VT_BOOL) == S_OK && isOn->boolVal == VARIANT_FALSE)
        document.setProperty(name.get(), value);
}

}  // namespace

void distrustText(IXMLDOMDocument& document) {
    // Also what the caller relies on who frees the text when load returns.
    document.put_async(VARIANT_FALSE);
    document.put_resolveExternals(VARIANT_FALSE);
    document.put_validateOnParse(VARIANT_FALSE);

    ATL::CComPtr<IXMLDOMDocument2> withProperties;
    if (FAILED(document.QueryInterface(dom::kIXMLDOMDocument2,
                                       reinterpret_cast<void**>(&withProperties))))
        return;
    VARIANT yes{};
    yes.vt = VT_BOOL;
    yes.boolVal = VARIANT_TRUE;
    switchOn(*withProperties, L"ProhibitDTD", yes);
    switchOn(*withProperties, L"MaxElementDepth", Variant(std::int32_t{256}).get());
}

}  // namespace platform
