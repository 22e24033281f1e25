#pragma once

#include <windows.h>

#include <oleauto.h>

#include <cstdint>
#include <string_view>
#include <utility>

#include "platform/Bstr.h"

namespace platform {

/// Owns the contents of one VARIANT and clears it exactly once. Calls that take a VARIANT by value
/// borrow it: pass `get()`.
class Variant {
public:
    Variant() noexcept { ::VariantInit(&m_value); }

    /// VT_BSTR holding a copy of `text`, embedded terminators included.
    /// @throws _com_error with E_OUTOFMEMORY when the string cannot be made.
    explicit Variant(std::wstring_view text) : Variant(Bstr(text)) {}

    /// VT_BSTR holding `text` itself.
    explicit Variant(Bstr&& text) noexcept : Variant() {
        m_value.vt = VT_BSTR;
        m_value.bstrVal = text.detach();
    }

    explicit Variant(std::int32_t value) noexcept : Variant() {
        m_value.vt = VT_I4;
        m_value.lVal = value;
    }

    explicit Variant(std::uint32_t value) noexcept : Variant() {
        m_value.vt = VT_UI4;
        m_value.ulVal = value;
    }

    /// VT_UNKNOWN with a reference of its own.
    explicit Variant(IUnknown& object) noexcept : Variant() {
        object.AddRef();
        m_value.vt = VT_UNKNOWN;
        m_value.punkVal = &object;
    }

    Variant(const Variant&) = delete;  // a copy would be cleared twice
    Variant& operator=(const Variant&) = delete;
    Variant(Variant&& other) noexcept : Variant() { std::swap(m_value, other.m_value); }
    Variant& operator=(Variant&& other) noexcept {
        std::swap(m_value, other.m_value);
        return *this;
    }
    ~Variant() { ::VariantClear(&m_value); }

    const VARIANT& get() const noexcept { return m_value; }

    /// For calls that hand out a VARIANT: clears what is held and exposes an empty one to fill.
    VARIANT* receive() noexcept {
        ::VariantClear(&m_value);
        ::VariantInit(&m_value);
        return &m_value;
    }

    /// Clears the contents now. What VariantClear refuses (an unknown type, a locked array) is
    /// given up, so that it is not tried again.
    /// @return VariantClear's result.
    HRESULT clear() noexcept {
        const HRESULT hr = ::VariantClear(&m_value);
        ::VariantInit(&m_value);
        return hr;
    }

    /// Turns the contents into a BSTR by the platform's conversion, locale rules included.
    /// @return VariantChangeType's result; on failure the contents stay as they were.
    HRESULT changeToText() noexcept { return ::VariantChangeType(&m_value, &m_value, 0, VT_BSTR); }

    /// The text of a VT_BSTR, else empty. Borrowed.
    std::wstring_view text() const noexcept {
        if (m_value.vt != VT_BSTR) return {};
        return {m_value.bstrVal, ::SysStringLen(m_value.bstrVal)};
    }

private:
    VARIANT m_value;
};

}  // namespace platform
