#pragma once
/// @file
/// Declares an entry of a data object: a format and its medium.

#include <windows.h>

#include <ole2.h>

#include "dll/export.h"

#if defined(_MSC_VER)
#pragma warning(push)
#pragma warning(disable : 4251)  // the format and the medium are private, so clients never use them
#pragma warning(disable : 4275)  // the base is a COM interface and has no code to export
#endif

/// Stores a format and a medium. Entries are reference-counted. The last `Release` calls
/// `ReleaseStgMedium` for the medium.
///
/// The entry stores the pointer to the format's DVTARGETDEVICE and does not copy the structure. The
/// format and the medium do not change after construction. `AddRef` and `Release` are thread-safe.
class I18NRESOURCE_API CDataObjectEntry : public IUnknown {
public:
    /// Creates an entry.
    ///
    /// @param release     If true, the entry takes ownership of `medium`. If false, the entry
    ///                    stores a duplicate, and the caller still owns `medium`.
    /// @param[out] entry  The caller owns the only reference. Null on failure.
    /// @return S_OK; E_POINTER for a null `entry`; E_OUTOFMEMORY if the entry or the duplicate
    ///         cannot be created. On failure, the caller still owns `medium`.
    static HRESULT CreateInstance(const FORMATETC& format, const STGMEDIUM& medium, bool release,
                                  CDataObjectEntry** entry);

    // IUnknown

    /// `*ppv` receives null for interfaces other than IUnknown.
    ///
    /// @return S_OK for IUnknown; E_NOINTERFACE for other interfaces; E_INVALIDARG for a null
    ///         `ppv`.
    STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override;
    STDMETHODIMP_(ULONG) AddRef() override;
    STDMETHODIMP_(ULONG) Release() override;

    const FORMATETC& format() const { return m_format; }

    /// Compares the format of the entry with a requested format. The target devices and the
    /// requested aspect are ignored.
    ///
    /// @return the first code in this list whose condition is true:
    ///         - DV_E_CLIPFORMAT if the clipboard formats differ.
    ///         - DV_E_LINDEX if the requested index is not -1.
    ///         - DV_E_DVASPECT if the entry was stored without DVASPECT_CONTENT.
    ///         - DV_E_TYMED if the storage medium types have no bit in common.
    ///         - S_OK if the formats match.
    HRESULT matches(const FORMATETC& requested) const;

    /// Copies the stored medium in the same way as `CDataObject::GetData`.
    ///
    /// @param[out] medium  The caller frees it with `ReleaseStgMedium`. TYMED_NULL on failure.
    /// @return S_OK; E_OUTOFMEMORY if the medium cannot be copied.
    HRESULT copyMedium(STGMEDIUM& medium) const;

    CDataObjectEntry(const CDataObjectEntry&) = delete;
    CDataObjectEntry& operator=(const CDataObjectEntry&) = delete;

protected:
    explicit CDataObjectEntry(const FORMATETC& format) noexcept;
    virtual ~CDataObjectEntry();

private:
    const FORMATETC m_format;
    STGMEDIUM m_medium{};
    LONG m_references = 1;  // the creator owns the first reference
};

#if defined(_MSC_VER)
#pragma warning(pop)
#endif
