#pragma once
/// @file
/// Defines the four ATL classes that the public interface uses: `CComAutoCriticalSection`,
/// `CComPtr`, `CComBSTR` and `CComVariant`. If the compiler provides ATL, this file includes the
/// classes of ATL. Otherwise, this file defines small classes with the same names and with the
/// members that the public interface needs.

// ATL defines these classes in atlcomcli.h and atlcore.h. Some SDKs contain atlbase.h but not ATL,
// so the presence of atlbase.h does not mean that ATL is available.
#if defined(_MSC_VER) && __has_include(<atlcomcli.h>)

// atlbase.h is not used because it also links the static library of ATL into the program that
// includes it. _ATL_NO_AUTOMATIC_NAMESPACE keeps ATL's names out of the global namespace of that
// program.
#if defined(_ATL_NO_AUTOMATIC_NAMESPACE)
#include <atlcomcli.h>
#include <atlcore.h>
#else
#define _ATL_NO_AUTOMATIC_NAMESPACE
#include <atlcomcli.h>
#include <atlcore.h>
#undef _ATL_NO_AUTOMATIC_NAMESPACE
#endif

#else

#include <windows.h>

#include <oleauto.h>

#include <cassert>
#include <cstddef>
#include <new>
#include <type_traits>
#include <utility>

namespace ATL {

/// Initializes a critical section in the constructor, and deletes it in the destructor.
class CComAutoCriticalSection {
public:
    CComAutoCriticalSection() noexcept { ::InitializeCriticalSection(&m_sec); }
    CComAutoCriticalSection(const CComAutoCriticalSection&) = delete;
    CComAutoCriticalSection& operator=(const CComAutoCriticalSection&) = delete;
    ~CComAutoCriticalSection() { ::DeleteCriticalSection(&m_sec); }

    HRESULT Lock() noexcept {
        ::EnterCriticalSection(&m_sec);
        return S_OK;
    }
    HRESULT Unlock() noexcept {
        ::LeaveCriticalSection(&m_sec);
        return S_OK;
    }

    CRITICAL_SECTION m_sec;
};

/// Represents the interface `T` without access to its reference count. `CComPtr<T>::operator->`
/// returns a pointer to this class, so that a program cannot release the reference that the
/// `CComPtr` owns. No object has this type.
template <class T>
class NoAddRefRelease : public T {
private:
    STDMETHOD_(ULONG, AddRef)() override = 0;
    STDMETHOD_(ULONG, Release)() override = 0;
};

/// Owns one counted reference to a COM interface. `T` must not be final, because `operator->`
/// returns a pointer to a class that is derived from `T`.
template <class T>
class CComPtr {
public:
    CComPtr() noexcept = default;
    CComPtr(T* other) noexcept : p(other) {
        if (p) p->AddRef();
    }
    CComPtr(const CComPtr& other) noexcept : CComPtr(other.p) {}
    CComPtr(CComPtr&& other) noexcept : p(std::exchange(other.p, nullptr)) {}
    ~CComPtr() {
        if (p) p->Release();
    }

    // NOLINTBEGIN(misc-unconventional-assign-operator): the same return types as in ATL
    // NOLINTBEGIN(bugprone-unhandled-self-assignment): copy assignment makes a copy first
    T* operator=(T* other) noexcept { return *this = CComPtr(other); }
    T* operator=(const CComPtr& other) noexcept { return *this = CComPtr(other); }
    T* operator=(CComPtr&& other) noexcept {
        CComPtr taken(std::move(other));
        std::swap(p, taken.p);
        return p;
    }
    // NOLINTEND(bugprone-unhandled-self-assignment)
    // NOLINTEND(misc-unconventional-assign-operator)

    operator T*() const noexcept { return p; }
    T& operator*() const noexcept { return *p; }
    NoAddRefRelease<T>* operator->() const noexcept { return static_cast<NoAddRefRelease<T>*>(p); }
    /// Returns the address of the pointer, for functions that store a reference in it. The pointer
    /// must be null.
    T** operator&() noexcept {
        assert(!p);
        return &p;
    }

    /// Releases the reference immediately, rather than in the destructor.
    void Release() noexcept {
        if (T* const released = std::exchange(p, nullptr)) released->Release();
    }
    /// Releases the current reference and takes ownership of the caller's reference.
    void Attach(T* other) noexcept {
        if (p) p->Release();
        p = other;
    }
    /// Transfers the reference to the caller.
    T* Detach() noexcept { return std::exchange(p, nullptr); }
    /// Stores an additional reference in `*other`.
    HRESULT CopyTo(T** other) noexcept {
        if (!other) return E_POINTER;
        *other = p;
        if (p) p->AddRef();
        return S_OK;
    }
    template <class Q>
    HRESULT QueryInterface(Q** other) const noexcept {
        return p->QueryInterface(__uuidof(Q), reinterpret_cast<void**>(other));
    }
    HRESULT CoCreateInstance(REFCLSID clsid, IUnknown* outer = nullptr,
                             DWORD context = CLSCTX_ALL) noexcept {
        assert(!p);
        return ::CoCreateInstance(clsid, outer, context, __uuidof(T), reinterpret_cast<void**>(&p));
    }

    T* p = nullptr;
};

/// Owns a BSTR. If memory runs out, construction or assignment from text results in a null string.
class CComBSTR {
    // A type that converts to `const OLECHAR*`, except CComBSTR and classes that are derived from
    // CComBSTR. If CComBSTR were included, the comparisons below would be ambiguous.
    template <class Text>
    using OnlyText = std::enable_if_t<std::is_convertible_v<const Text&, const OLECHAR*> &&
                                      !std::is_base_of_v<CComBSTR, Text>>;

public:
    CComBSTR() noexcept = default;
    CComBSTR(const OLECHAR* text) noexcept : m_str(text ? ::SysAllocString(text) : nullptr) {}
    CComBSTR(int length, const OLECHAR* text) noexcept
        : m_str(::SysAllocStringLen(text, static_cast<UINT>(length))) {}
    CComBSTR(const CComBSTR& other) noexcept : m_str(other.Copy()) {}
    CComBSTR(CComBSTR&& other) noexcept : m_str(std::exchange(other.m_str, nullptr)) {}
    ~CComBSTR() { ::SysFreeString(m_str); }

    CComBSTR& operator=(CComBSTR other) noexcept {
        std::swap(m_str, other.m_str);
        return *this;
    }

    operator BSTR() const noexcept { return m_str; }
    bool operator!() const noexcept { return !m_str; }
    /// Compares the strings according to the user's default locale. A null string equals the empty
    /// string.
    friend bool operator==(const CComBSTR& left, const CComBSTR& right) noexcept {
        return equal(left.m_str, right.m_str);
    }
    friend bool operator!=(const CComBSTR& left, const CComBSTR& right) noexcept {
        return !(left == right);
    }
    template <class Text, class = OnlyText<Text>>
    friend bool operator==(const CComBSTR& left, const Text& right) noexcept {
        return equal(left.m_str, CComBSTR(right).m_str);
    }
    template <class Text, class = OnlyText<Text>>
    friend bool operator!=(const CComBSTR& left, const Text& right) noexcept {
        return !(left == right);
    }
    template <class Text, class = OnlyText<Text>>
    friend bool operator==(const Text& left, const CComBSTR& right) noexcept {
        return right == left;
    }
    template <class Text, class = OnlyText<Text>>
    friend bool operator!=(const Text& left, const CComBSTR& right) noexcept {
        return !(right == left);
    }
    friend bool operator==(const CComBSTR& left, std::nullptr_t) noexcept { return !left.m_str; }
    friend bool operator!=(const CComBSTR& left, std::nullptr_t) noexcept { return left.m_str; }
    friend bool operator==(std::nullptr_t, const CComBSTR& right) noexcept { return !right.m_str; }
    friend bool operator!=(std::nullptr_t, const CComBSTR& right) noexcept { return right.m_str; }
    /// Returns the address of the string, for functions that store a BSTR in it. The string must be
    /// null.
    BSTR* operator&() noexcept { return &m_str; }

    /// Returns the length in characters, without the terminator.
    unsigned Length() const noexcept { return ::SysStringLen(m_str); }
    BSTR Copy() const noexcept {
        return m_str ? ::SysAllocStringLen(m_str, ::SysStringLen(m_str)) : nullptr;
    }
    void Attach(BSTR text) noexcept {
        ::SysFreeString(m_str);
        m_str = text;
    }
    BSTR Detach() noexcept { return std::exchange(m_str, nullptr); }
    void Empty() noexcept { Attach(nullptr); }

    BSTR m_str = nullptr;

private:
    static bool equal(BSTR left, BSTR right) noexcept {
        return ::VarBstrCmp(left, right, LOCALE_USER_DEFAULT, 0) == static_cast<HRESULT>(VARCMP_EQ);
    }
};

/// Owns the contents of a VARIANT. If copying a value fails, the type becomes VT_ERROR and the
/// value becomes the error code.
class CComVariant : public tagVARIANT {
public:
    CComVariant() noexcept { ::VariantInit(this); }
    CComVariant(const OLECHAR* text) noexcept {
        vt = VT_BSTR;
        bstrVal = ::SysAllocString(text);
        if (text && !bstrVal) fail(E_OUTOFMEMORY);
    }
    // This constructor is a template that accepts only bool. An ordinary constructor with a bool
    // parameter would also accept pointers.
    template <class Bool, class = std::enable_if_t<std::is_same_v<Bool, bool>>>
    CComVariant(Bool value) noexcept {
        vt = VT_BOOL;
        boolVal = value ? VARIANT_TRUE : VARIANT_FALSE;
    }
    CComVariant(short value) noexcept {
        vt = VT_I2;
        iVal = value;
    }
    CComVariant(int value) noexcept {
        vt = VT_I4;
        lVal = value;
    }
    CComVariant(long value) noexcept {
        vt = VT_I4;
        lVal = value;
    }
    CComVariant(unsigned value) noexcept {
        vt = VT_UI4;
        ulVal = value;
    }
    CComVariant(unsigned long value) noexcept {
        vt = VT_UI4;
        ulVal = value;
    }
    CComVariant(long long value) noexcept {
        vt = VT_I8;
        llVal = value;
    }
    CComVariant(unsigned long long value) noexcept {
        vt = VT_UI8;
        ullVal = value;
    }
    CComVariant(double value) noexcept {
        vt = VT_R8;
        dblVal = value;
    }
    CComVariant(IDispatch* object) noexcept {
        vt = VT_DISPATCH;
        pdispVal = object;
        if (object) object->AddRef();
    }
    CComVariant(IUnknown* object) noexcept {
        vt = VT_UNKNOWN;
        punkVal = object;
        if (object) object->AddRef();
    }
    CComVariant(const VARIANT& other) noexcept {
        ::VariantInit(this);
        copy(other);
    }
    CComVariant(const CComVariant& other) noexcept
        : CComVariant(static_cast<const VARIANT&>(other)) {}
    CComVariant& operator=(const CComVariant& other) noexcept {
        if (this != &other) copy(other);
        return *this;
    }
    ~CComVariant() { ::VariantClear(this); }

    HRESULT Clear() noexcept { return ::VariantClear(this); }
    HRESULT ChangeType(VARTYPE type, const VARIANT* source = nullptr) noexcept {
        return ::VariantChangeType(this, source ? const_cast<VARIANT*>(source) : this, 0, type);
    }

private:
    void fail(HRESULT hr) noexcept {
        vt = VT_ERROR;
        scode = hr;
    }
    void copy(const VARIANT& other) noexcept {
        const HRESULT hr = ::VariantCopy(this, const_cast<VARIANT*>(&other));
        if (FAILED(hr)) fail(hr);
    }
};

}  // namespace ATL

#endif
