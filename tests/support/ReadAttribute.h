#pragma once
#include <windows.h>

#include <msxml2.h>

#include <string_view>
#include <utility>

#include "platform/Bstr.h"
#include "platform/Dom.h"

namespace testsupport {

// Reads one attribute by its qualified name.
// @return S_FALSE if the attribute does not exist; otherwise the result of readAttributes().
inline HRESULT readAttribute(IXMLDOMNode& element, std::wstring_view qualifiedName,
                             platform::Bstr& value) {
    platform::dom::AttributeValue attribute{qualifiedName, {}, false};
    const HRESULT hr = platform::dom::readAttributes(element, {}, {&attribute, 1});
    value = std::move(attribute.value);
    return hr == S_OK && !attribute.found ? S_FALSE : hr;
}

}  // namespace testsupport
