#pragma once

#include <windows.h>

#include <ole2.h>

/// Owns the registration of one interface in the Global Interface Table. Each medium that contains
/// the cookie of the registration holds a reference to the InterfaceOwner in `pUnkForRelease`. The
/// last `Release` revokes the registration and frees the block that contains the cookie.
///
/// The reference count is interlocked. A lock protects the list of all InterfaceOwner objects.
class InterfaceOwner final : public IUnknown {
public:
    /// Registers `unknown` and stores a payload in `medium`. The payload is a block that contains
    /// the cookie. The `pUnkForRelease` of the medium is a new InterfaceOwner, to which the medium
    /// holds the only reference.
    ///
    /// @param table        Must outlive the InterfaceOwner. The library releases the table only at
    ///                     the end of the process.
    /// @param[out] medium  The caller frees it with `ReleaseStgMedium`. TYMED_NULL on failure.
    /// @return S_OK; E_OUTOFMEMORY if memory runs out; otherwise the error code from
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
    HGLOBAL m_block = nullptr;             // contains the four bytes of the cookie
    DWORD m_cookie = 0;                    // 0 if no interface is registered
    LONG m_references = 1;                 // the creator owns the first reference
    InterfaceOwner* m_previous = nullptr;  // neighbors in the list of all InterfaceOwner objects
    InterfaceOwner* m_next = nullptr;
};
