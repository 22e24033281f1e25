#pragma once

#include <windows.h>

#include <ole2.h>

/// Keeps one interface registered in the Global Interface Table as long as a medium with the cookie
/// of the registration exists. Each of these media holds a reference to the InterfaceOwner in
/// `pUnkForRelease`. The last `Release` frees the block that contains the cookie, and revokes the
/// registration.
///
/// The reference count is interlocked. A lock protects the list of all InterfaceOwner objects.
class InterfaceOwner final : public IUnknown {
public:
    /// Registers `unknown` and stores a payload in `medium`. The payload consists of a block that
    /// contains the cookie, and of a new InterfaceOwner. The medium holds the only reference to the
    /// InterfaceOwner.
    ///
    /// @param table        Must outlive the InterfaceOwner. The library releases the table only at
    ///                     the end of the process.
    /// @param[out] medium  The caller frees it with `ReleaseStgMedium`. TYMED_NULL on failure.
    /// @return S_OK; E_OUTOFMEMORY if memory runs out; otherwise the error code from
    ///         `RegisterInterfaceInGlobal`.
    static HRESULT createPayload(IGlobalInterfaceTable& table, const IUnknown& unknown,
                                 STGMEDIUM& medium);

    /// Returns true if `createPayload` stored the block in `medium`: its `pUnkForRelease` is an
    /// existing InterfaceOwner that owns the block. The block never changes and exists as long as
    /// the InterfaceOwner, so copies of the medium may share the block.
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
    LONG m_references = 1;                 // starts with the creator's reference
    InterfaceOwner* m_previous = nullptr;  // neighbors in the list of all InterfaceOwner objects
    InterfaceOwner* m_next = nullptr;
};
