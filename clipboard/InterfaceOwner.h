#pragma once

#include <windows.h>

#include <ole2.h>

/// Keeps one interface registered in the Global Interface Table as long as a medium with its cookie
/// exists. Each medium with the cookie has a reference to the owner in `pUnkForRelease`. The last
/// `Release` frees the block that contains the cookie and revokes the cookie.
///
/// The reference count is interlocked. A lock protects the list of all owners that exist.
class InterfaceOwner final : public IUnknown {
public:
    /// Registers `unknown` and stores a payload in `medium`. The payload consists of a block, which
    /// contains the cookie, and a new owner. The medium has the only reference to the owner.
    ///
    /// @param table        Must outlive the owner. The library releases the table only at the end
    ///                     of the process.
    /// @param[out] medium  The caller frees it with `ReleaseStgMedium`. TYMED_NULL on failure.
    /// @return S_OK; E_OUTOFMEMORY; the table's failure to register the interface.
    static HRESULT createPayload(IGlobalInterfaceTable& table, const IUnknown& unknown,
                                 STGMEDIUM& medium);

    /// Returns true if `medium` is a payload of this class: its `pUnkForRelease` is an owner that
    /// exists, and its block is the block of that owner. The block never changes and exists as long
    /// as the owner, so copies of the medium may share the block.
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
    HGLOBAL m_block = nullptr;             // four bytes, which contain the cookie
    DWORD m_cookie = 0;                    // 0 if no interface is registered
    LONG m_references = 1;                 // starts with the creator's reference
    InterfaceOwner* m_previous = nullptr;  // neighbours in the list of all owners
    InterfaceOwner* m_next = nullptr;
};
