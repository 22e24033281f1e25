#pragma once
/// @file
/// Enumerates the formats of a data object.

#include <windows.h>

#include <ole2.h>

#include <memory>

#include "dll/export.h"

class CDataObject;

#if defined(_MSC_VER)
#pragma warning(push)
#pragma warning(disable : 4251)  // the array is private: clients never touch it
#pragma warning(disable : 4275)  // the base is a COM interface, which has no code to export
#endif

/// Enumerates the formats that a data object had when the enumerator was created.
///
/// Target devices: every FORMATETC that `Next` returns has its own copy of the target device. The
/// copy is a block from `CoTaskMemAlloc` with the first 16 bytes of the structure, whatever its
/// size. The caller frees it with `CoTaskMemFree`.
///
/// Reference counts are interlocked; the position has no lock.
class I18NRESOURCE_API CEnumFORMATETC final : public IEnumFORMATETC {
public:
    /// Creates an enumerator of the formats of `object`, at the first one.
    ///
    /// @param[out] enumerator  The caller owns the only reference. Null on failure.
    /// @return S_OK; E_INVALIDARG for a null `enumerator`; E_OUTOFMEMORY.
    static HRESULT CreateInstance(const CDataObject& object, IEnumFORMATETC** enumerator);

    /// Creates an enumerator of `count` formats at `position`. It replaces the target devices of
    /// the formats by its own copies.
    ///
    /// @param[out] enumerator  Must not be null. The caller owns the only reference. Untouched on
    ///                         failure.
    /// @return S_OK; E_OUTOFMEMORY.
    static HRESULT create(std::unique_ptr<FORMATETC[]> formats, ULONG count, ULONG position,
                          IEnumFORMATETC** enumerator);

    // IUnknown

    /// @return S_OK for IUnknown and IEnumFORMATETC; E_NOINTERFACE with a null `*ppv` for others;
    ///         E_INVALIDARG for a null `ppv`.
    STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override;
    STDMETHODIMP_(ULONG) AddRef() override;
    STDMETHODIMP_(ULONG) Release() override;

    // IEnumFORMATETC

    /// @param[out] pceltFetched  Optional, whatever `celt` is.
    /// @return S_OK if `celt` formats were copied, also for 0; S_FALSE if fewer were left;
    ///         E_INVALIDARG for a null `rgelt`; E_OUTOFMEMORY, with nothing copied and the position
    ///         unchanged.
    STDMETHODIMP Next(ULONG celt, FORMATETC* rgelt, ULONG* pceltFetched) override;
    /// @return S_OK if `celt` formats were skipped, also for 0; S_FALSE if fewer were left, with
    ///         the position at the end.
    STDMETHODIMP Skip(ULONG celt) override;
    /// @return S_OK.
    STDMETHODIMP Reset() override;
    /// Creates a second enumerator of the same formats at the same position.
    ///
    /// @param[out] ppenum  The caller owns one reference. Null on failure.
    /// @return S_OK; E_INVALIDARG for a null argument; E_OUTOFMEMORY.
    STDMETHODIMP Clone(IEnumFORMATETC** ppenum) override;

    CEnumFORMATETC(const CEnumFORMATETC&) = delete;
    CEnumFORMATETC& operator=(const CEnumFORMATETC&) = delete;

private:
    CEnumFORMATETC(std::unique_ptr<FORMATETC[]> formats, ULONG count, ULONG position) noexcept;
    ~CEnumFORMATETC() = default;  // only Release destroys

    LONG m_references = 1;  // the creator's
    ULONG m_position;
    const ULONG m_count;
    const std::unique_ptr<FORMATETC[]> m_formats;  // m_count of them
};

#if defined(_MSC_VER)
#pragma warning(pop)
#endif
