#pragma once

#include <windows.h>

#include <oleauto.h>

#include <cstddef>
#include <string_view>
#include <utility>

namespace platform {

/// Owns one BSTR and frees it exactly once.
class Bstr {
public:
    Bstr() = default;

    /// Copies `text`, embedded terminators included.
    /// @throws _com_error with E_OUTOFMEMORY when the string cannot be made.
    explicit Bstr(std::wstring_view text);

    /// Makes a string of `length` characters, to be written by the caller.
    /// @return a null string if it cannot be made.
    static Bstr ofLength(std::size_t length) noexcept;

    Bstr(const Bstr&) = delete;  // a copy would be freed twice
    Bstr& operator=(const Bstr&) = delete;
    Bstr(Bstr&& other) noexcept : m_text(other.detach()) {}
    Bstr& operator=(Bstr&& other) noexcept {
        adopt(other.detach());
        return *this;
    }
    ~Bstr() { ::SysFreeString(m_text); }

    BSTR get() const noexcept { return m_text; }
    std::wstring_view view() const noexcept { return {m_text, ::SysStringLen(m_text)}; }

    /// For calls that hand out a BSTR: frees what is held and exposes an empty pointer to fill.
    BSTR* receive() noexcept {
        adopt(nullptr);
        return &m_text;
    }

    /// Takes over a BSTR that the caller owns, which may be null.
    void adopt(BSTR text) noexcept {
        ::SysFreeString(m_text);
        m_text = text;
    }

    /// Hands the BSTR to the caller, who frees it.
    [[nodiscard]] BSTR detach() noexcept { return std::exchange(m_text, nullptr); }

private:
    BSTR m_text = nullptr;
};

}  // namespace platform
