#pragma once
/// @file
/// One stored (format, medium) pair of a data object.

#include <windows.h>

#include <ole2.h>

#include "dll/export.h"

#if defined(_MSC_VER)
#pragma warning(push)
#pragma warning(disable : 4251)  // the format and the medium are private: clients never touch them
#pragma warning(disable : 4275)  // the base is a COM interface, which has no code to export
#endif

/// A format and its medium, shared by reference count. The last `Release` frees the medium with
/// `ReleaseStgMedium`.
///
/// The target device of the format is the pointer that was passed, not a copy. Format and medium
/// never change after construction; reference counts are interlocked.
class I18NRESOURCE_API CDataObjectEntry : public IUnknown {
public:
    /// Creates an entry.
    ///
    /// @param release     True: the entry takes ownership of `medium`. False: it stores a duplicate.
    /// @param[out] entry  The caller owns the only reference. Null on failure.
    /// @return S_OK; E_POINTER for a null `entry`; E_OUTOFMEMORY. On failure the caller still owns
    ///         `medium`.
    static HRESULT CreateInstance(const FORMATETC& format, const STGMEDIUM& medium, bool release,
                                  CDataObjectEntry** entry);

    // IUnknown

    /// @return S_OK for IUnknown; E_NOINTERFACE with a null `*ppv` for others; E_INVALIDARG for a
    ///         null `ppv`.
    STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override;
    STDMETHODIMP_(ULONG) AddRef() override;
    STDMETHODIMP_(ULONG) Release() override;

    const FORMATETC& format() const { return m_format; }

    /// Compares the format of the entry with a request.
    ///
    /// @return S_OK if they match; otherwise the first difference: DV_E_CLIPFORMAT for another
    ///         clipboard format, DV_E_LINDEX for a requested index other than -1, DV_E_DVASPECT if
    ///         the entry was stored without DVASPECT_CONTENT, DV_E_TYMED for storage types without
    ///         a common bit.
    HRESULT matches(const FORMATETC& requested) const;

    /// Copies the stored medium, as `CDataObject::GetData` describes.
    ///
    /// @param[out] medium  The caller frees it with `ReleaseStgMedium`. Empty on failure.
    /// @return S_OK; E_OUTOFMEMORY.
    HRESULT copyMedium(STGMEDIUM& medium) const;

    CDataObjectEntry(const CDataObjectEntry&) = delete;
    CDataObjectEntry& operator=(const CDataObjectEntry&) = delete;

protected:
    explicit CDataObjectEntry(const FORMATETC& format) noexcept;
    virtual ~CDataObjectEntry();

private:
    const FORMATETC m_format;
    STGMEDIUM m_medium{};
    LONG m_references = 1;  // the creator's
};

#if defined(_MSC_VER)
#pragma warning(pop)
#endif
