#pragma once

#include <windows.h>

#include <ole2.h>

/// Keeps one interface registered in the Global Interface Table while a medium that carries its
/// cookie exists. Media hold it as `pUnkForRelease`; the last `Release` revokes the cookie.
class IManageInterfaceDataObject final : public IUnknown {
public:
    /// Registers `unknown` and fills `medium` with the payload: a block that holds the cookie,
    /// owned by a new object of this class, to which the medium has the one reference.
    ///
    /// @param table         Outlives the object: it is given back at the end of the process only.
    /// @param[out] medium   The caller frees it with `ReleaseStgMedium`. Empty on failure.
    /// @return S_OK; E_OUTOFMEMORY; the table's failure to register.
    static HRESULT createPayload(IGlobalInterfaceTable& table, const IUnknown& unknown,
                                 STGMEDIUM& medium);

    /// Whether `medium`, a global block, is the very block of the object that owns it. Such a block
    /// never changes and lives as long as any medium that refers to it, so that copies may share
    /// it.
    static bool ownsBlockOf(const STGMEDIUM& medium) noexcept;

    // IUnknown
    STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override;
    STDMETHODIMP_(ULONG) AddRef() override;
    STDMETHODIMP_(ULONG) Release() override;

    IManageInterfaceDataObject(const IManageInterfaceDataObject&) = delete;
    IManageInterfaceDataObject& operator=(const IManageInterfaceDataObject&) = delete;

private:
    explicit IManageInterfaceDataObject(IGlobalInterfaceTable& table) noexcept;
    ~IManageInterfaceDataObject();  // only Release destroys

    IGlobalInterfaceTable& m_table;
    HGLOBAL m_block = nullptr;  // four bytes: the cookie as receivers read it
    DWORD m_cookie = 0;         // 0: not registered
    LONG m_references = 1;      // the creator's
    IManageInterfaceDataObject* m_previous = nullptr;  // neighbours among the living objects
    IManageInterfaceDataObject* m_next = nullptr;
};
