#pragma once

#include <windows.h>

#include <oleauto.h>

#include <cstdint>
#include <string_view>
#include <utility>

#include "platform/Bstr.h"

namespace platform {

/// Owns the contents of one VARIANT and clears them exactly once. To pass the VARIANT to a function
/// by value, use `get()`. The function does not take ownership of the contents.
class Variant {
public:
    Variant() noexcept { ::VariantInit(&m_value); }

    /// Creates a VT_BSTR with a copy of `text`, including embedded NULs.
    /// @throws _com_error with E_OUTOFMEMORY if the string cannot be allocated.
    explicit Variant(std::wstring_view text) : Variant(Bstr(text)) {}

    /// Creates a VT_BSTR that takes ownership of `text`.
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

    /// Creates a VT_UNKNOWN with an additional reference to `object`.
    explicit Variant(IUnknown& object) noexcept : Variant() {
        object.AddRef();
        m_value.vt = VT_UNKNOWN;
        m_value.punkVal = &object;
    }

    Variant(const Variant&) = delete;  // a copy would clear the same contents again
    Variant& operator=(const Variant&) = delete;
    Variant(Variant&& other) noexcept : Variant() { std::swap(m_value, other.m_value); }
    Variant& operator=(Variant&& other) noexcept {
        std::swap(m_value, other.m_value);
        return *this;
    }
    ~Variant() { ::VariantClear(&m_value); }

    const VARIANT& get() const noexcept { return m_value; }

    /// Clears the current contents and returns the address of an empty VARIANT. Pass this address
    /// to a function that stores a VARIANT.
    VARIANT* receive() noexcept {
        ::VariantClear(&m_value);
        ::VariantInit(&m_value);
        return &m_value;
    }

    /// Clears the contents immediately. VariantClear can fail, for example for an unknown type or a
    /// locked array. On failure, the contents are leaked, and the destructor does not try to clear
    /// them again.
    /// @return the result of VariantClear.
    HRESULT clear() noexcept {
        const HRESULT hr = ::VariantClear(&m_value);
        ::VariantInit(&m_value);
        return hr;
    }

    /// Converts the contents to a BSTR with VariantChangeType, which uses the rules of the user's
    /// locale.
    /// @return the result of VariantChangeType. On failure, the contents are unchanged.
    HRESULT changeToText() noexcept { return ::VariantChangeType(&m_value, &m_value, 0, VT_BSTR); }

    /// Returns a view of the text of a VT_BSTR. The view is empty for other types.
    std::wstring_view text() const noexcept {
        if (m_value.vt != VT_BSTR) return {};
        return {m_value.bstrVal, ::SysStringLen(m_value.bstrVal)};
    }

private:
    VARIANT m_value;
};

}  // namespace platform
