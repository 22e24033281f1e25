#pragma once
/// @file
/// Declares the enumerator for the formats of a data object.

#include <windows.h>

#include <ole2.h>

#include <memory>

#include "dll/export.h"

class CDataObject;

#if defined(_MSC_VER)
#pragma warning(push)
#pragma warning(disable : 4251)  // the array is private, so clients never use it
#pragma warning(disable : 4275)  // the base is a COM interface and has no code to export
#endif

/// Enumerates the formats that a data object had when the enumerator was created.
///
/// If a format has a target device, `Next` returns the format with a new copy of the target device.
/// The caller frees the copy with `CoTaskMemFree`.
///
/// Compatibility: the copy contains only the first 16 bytes of the DVTARGETDEVICE, even if the
/// structure is larger. Receivers free the copy, but do not use the remainder of the structure. The
/// enumerator also keeps its own copy of each target device and never frees this copy. The leak is
/// small, because formats with a target device are rare.
///
/// `AddRef` and `Release` are thread-safe. No lock protects the position of the enumerator.
class I18NRESOURCE_API CEnumFORMATETC final : public IEnumFORMATETC {
public:
    /// Creates an enumerator for the formats of `object`. The enumerator starts at the first
    /// format.
    ///
    /// @param[out] enumerator  The caller owns the only reference. Null on failure.
    /// @return S_OK; E_INVALIDARG for a null `enumerator`; E_OUTOFMEMORY if memory runs out.
    static HRESULT CreateInstance(const CDataObject& object, IEnumFORMATETC** enumerator);

    /// Creates an enumerator for the `count` elements of `formats`. The enumerator starts at the
    /// format with the zero-based index `position`. The function replaces the target devices in
    /// `formats` with copies that the enumerator owns.
    ///
    /// @param[out] enumerator  Must not be null. The caller owns the only reference. Unchanged on
    ///                         failure.
    /// @return S_OK; E_OUTOFMEMORY if memory runs out.
    static HRESULT create(std::unique_ptr<FORMATETC[]> formats, ULONG count, ULONG position,
                          IEnumFORMATETC** enumerator);

    // IUnknown

    /// `*ppv` receives the same pointer for IUnknown and IEnumFORMATETC, and null for other
    /// interfaces.
    ///
    /// @return S_OK for IUnknown and IEnumFORMATETC; E_NOINTERFACE for other interfaces;
    ///         E_INVALIDARG for a null `ppv`.
    STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override;
    STDMETHODIMP_(ULONG) AddRef() override;
    STDMETHODIMP_(ULONG) Release() override;

    // IEnumFORMATETC

    /// @param[out] pceltFetched  Optional, even if `celt` is greater than 1.
    /// @return one of these codes:
    ///         - S_OK if `celt` formats were copied. A `celt` of 0 is valid.
    ///         - S_FALSE if fewer than `celt` formats remained. The remaining formats were copied.
    ///         - E_INVALIDARG if `rgelt` is null.
    ///         - E_OUTOFMEMORY if memory runs out. After this error, `*pceltFetched` is 0, the
    ///           position is unchanged, and the caller has no target devices to free.
    STDMETHODIMP Next(ULONG celt, FORMATETC* rgelt, ULONG* pceltFetched) override;
    /// @return S_OK if `celt` formats were skipped; S_FALSE if fewer formats remained. A `celt` of
    ///         0 is valid. If the method returns S_FALSE, the position is past the last format.
    STDMETHODIMP Skip(ULONG celt) override;
    /// @return S_OK.
    STDMETHODIMP Reset() override;
    /// Creates another enumerator for the same formats, with the same position.
    ///
    /// @param[out] ppenum  The caller owns one reference. Null on failure.
    /// @return S_OK; E_INVALIDARG for a null argument; E_OUTOFMEMORY if memory runs out.
    STDMETHODIMP Clone(IEnumFORMATETC** ppenum) override;

    CEnumFORMATETC(const CEnumFORMATETC&) = delete;
    CEnumFORMATETC& operator=(const CEnumFORMATETC&) = delete;

private:
    CEnumFORMATETC(std::unique_ptr<FORMATETC[]> formats, ULONG count, ULONG position) noexcept;
    ~CEnumFORMATETC() = default;  // only Release destroys the object

    LONG m_references = 1;  // the creator owns the first reference
    ULONG m_position;
    const ULONG m_count;
    const std::unique_ptr<FORMATETC[]> m_formats;  // array of m_count formats
};

#if defined(_MSC_VER)
#pragma warning(pop)
#endif
