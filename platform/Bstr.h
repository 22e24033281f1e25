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

    /// Copies `text`, including embedded NULs.
    /// @throws _com_error with E_OUTOFMEMORY if the string cannot be allocated.
    explicit Bstr(std::wstring_view text);

    /// Allocates a string of `length` characters. The characters are not initialized.
    /// @return the string, or a null string if memory runs out.
    static Bstr ofLength(std::size_t length) noexcept;

    Bstr(const Bstr&) = delete;  // a copy would free the same string again
    Bstr& operator=(const Bstr&) = delete;
    Bstr(Bstr&& other) noexcept : m_text(other.detach()) {}
    Bstr& operator=(Bstr&& other) noexcept {
        adopt(other.detach());
        return *this;
    }
    ~Bstr() { ::SysFreeString(m_text); }

    BSTR get() const noexcept { return m_text; }
    std::wstring_view view() const noexcept { return {m_text, ::SysStringLen(m_text)}; }

    /// Frees the current string and returns the address of a null BSTR. Pass this address to a
    /// function that stores a BSTR.
    BSTR* receive() noexcept {
        adopt(nullptr);
        return &m_text;
    }

    /// Frees the current string and takes ownership of the caller's BSTR, which may be null.
    void adopt(BSTR text) noexcept {
        ::SysFreeString(m_text);
        m_text = text;
    }

    /// Transfers the BSTR to the caller, who must free it.
    [[nodiscard]] BSTR detach() noexcept { return std::exchange(m_text, nullptr); }

private:
    BSTR m_text = nullptr;
};

}  // namespace platform
