#pragma once

#include <windows.h>

#include <oleauto.h>

#include <cstdint>
#include <string_view>
#include <utility>

#include "platform/Bstr.h"

namespace platform {

/// Owns the contents of one VARIANT and clears it exactly once. A call with a VARIANT parameter by
/// value does not take ownership: pass `get()`.
class Variant {
public:
    Variant() noexcept { ::VariantInit(&m_value); }

    /// A VT_BSTR with a copy of `text`, embedded terminators included.
    /// @throws _com_error with E_OUTOFMEMORY when the string cannot be allocated.
    explicit Variant(std::wstring_view text) : Variant(Bstr(text)) {}

    /// A VT_BSTR that takes ownership of `text`.
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

    /// A VT_UNKNOWN with an additional reference.
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

    /// For calls that return a VARIANT: clears the present one and returns the address of an empty
    /// one.
    VARIANT* receive() noexcept {
        ::VariantClear(&m_value);
        ::VariantInit(&m_value);
        return &m_value;
    }

    /// Clears the contents now. If VariantClear refuses (an unknown type, a locked array), the
    /// contents are leaked, so that it is not tried again.
    /// @return VariantClear's result.
    HRESULT clear() noexcept {
        const HRESULT hr = ::VariantClear(&m_value);
        ::VariantInit(&m_value);
        return hr;
    }

    /// Converts the contents to a BSTR by VariantChangeType, which uses the rules of the locale.
    /// @return VariantChangeType's result; on failure the contents are unchanged.
    HRESULT changeToText() noexcept { return ::VariantChangeType(&m_value, &m_value, 0, VT_BSTR); }

    /// The text of a VT_BSTR, otherwise empty. A view of the contents.
    std::wstring_view text() const noexcept {
        if (m_value.vt != VT_BSTR) return {};
        return {m_value.bstrVal, ::SysStringLen(m_value.bstrVal)};
    }

private:
    VARIANT m_value;
};

}  // namespace platform
