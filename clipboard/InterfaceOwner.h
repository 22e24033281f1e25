#pragma once

#include <windows.h>

#include <ole2.h>

/// Owns the registration of one interface in the Global Interface Table. A medium that contains the
/// cookie of the registration holds a reference to the InterfaceOwner in `pUnkForRelease`. The last
/// `Release` revokes the registration and frees the block that contains the cookie.
///
/// `AddRef` and `Release` are thread-safe. A lock protects the list of all InterfaceOwner objects.
class InterfaceOwner final : public IUnknown {
public:
    /// Registers `unknown` and stores a block in `medium`. The block contains the cookie of the
    /// registration. The `pUnkForRelease` of the medium is a new InterfaceOwner. The medium holds
    /// the only reference to this InterfaceOwner.
    ///
    /// @param table        Must outlive the InterfaceOwner. Only `CDataObject::Term` releases the
    ///                     table.
    /// @param[out] medium  The caller frees it with `ReleaseStgMedium`. TYMED_NULL on failure.
    /// @return S_OK on success; E_OUTOFMEMORY if memory runs out; otherwise the error code from
    ///         `RegisterInterfaceInGlobal`.
    static HRESULT createPayload(IGlobalInterfaceTable& table, const IUnknown& unknown,
                                 STGMEDIUM& medium);

    /// Returns true if the `pUnkForRelease` of `medium` is an InterfaceOwner that owns the block in
    /// `medium`. Such a block never changes and exists as long as the InterfaceOwner, so copies of
    /// the medium may share the block.
    static bool ownsBlockOf(const STGMEDIUM& medium) noexcept;

    // IUnknown
    STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override;
    STDMETHODIMP_(ULONG) AddRef() override;
    STDMETHODIMP_(ULONG) Release() override;

    InterfaceOwner(const InterfaceOwner&) = delete;
    InterfaceOwner& operator=(const InterfaceOwner&) = delete;

private:
    explicit InterfaceOwner(IGlobalInterfaceTable& table) noexcept;
    ~InterfaceOwner();  // only Release destroys the object

    IGlobalInterfaceTable& m_table;
    HGLOBAL m_block = nullptr;             // contains the cookie (four bytes)
    DWORD m_cookie = 0;                    // 0 if no interface is registered
    LONG m_references = 1;                 // the creator owns the first reference
    InterfaceOwner* m_previous = nullptr;  // neighbors in the list of all InterfaceOwner objects
    InterfaceOwner* m_next = nullptr;
};
