#pragma once

#include <windows.h>

#include <ole2.h>

/// Keeps one interface registered in the Global Interface Table while a medium that carries its
/// cookie exists. Media hold the owner as `pUnkForRelease`; the last `Release` frees the block with
/// the cookie and revokes the cookie.
///
/// Reference counts are interlocked; the list of living owners has a lock of its own.
class InterfaceOwner final : public IUnknown {
public:
    /// Registers `unknown` and fills `medium` with the payload: a block with the cookie, and a new
    /// owner, to which the medium has the only reference.
    ///
    /// @param table        Outlives the owner: it is released at the end of the process only.
    /// @param[out] medium  The caller frees it with `ReleaseStgMedium`. Empty on failure.
    /// @return S_OK; E_OUTOFMEMORY; the table's failure to register.
    static HRESULT createPayload(IGlobalInterfaceTable& table, const IUnknown& unknown,
                                 STGMEDIUM& medium);

    /// Returns whether `medium` is such a payload: its owner is an existing object of this class,
    /// and its block is the one with the cookie. That block never changes and exists as long as its
    /// owner, so copies of the medium may share it.
    static bool ownsBlockOf(const STGMEDIUM& medium) noexcept;

    // IUnknown
    STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override;
    STDMETHODIMP_(ULONG) AddRef() override;
    STDMETHODIMP_(ULONG) Release() override;

    InterfaceOwner(const InterfaceOwner&) = delete;
    InterfaceOwner& operator=(const InterfaceOwner&) = delete;

private:
    explicit InterfaceOwner(IGlobalInterfaceTable& table) noexcept;
    ~InterfaceOwner();  // only Release destroys

    IGlobalInterfaceTable& m_table;
    HGLOBAL m_block = nullptr;             // four bytes: the cookie as receivers read it
    DWORD m_cookie = 0;                    // 0: not registered
    LONG m_references = 1;                 // the creator's
    InterfaceOwner* m_previous = nullptr;  // neighbours in the list of living owners
    InterfaceOwner* m_next = nullptr;
};
