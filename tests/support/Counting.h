#pragma once
// COM objects that count their references. The test owns the objects, and the last Release does not
// free them. The test can therefore read a reference count at any time, even if the count is
// negative.
#include <windows.h>

#include <ole2.h>

namespace testsupport {

// Implements the IUnknown methods of `Interface`. QueryInterface supports IUnknown and `Interface`.
template <class Interface>
class Counting : public Interface {
public:
    Counting() = default;
    Counting(const Counting&) = delete;
    Counting& operator=(const Counting&) = delete;
    virtual ~Counting() = default;

    // Returns the number of references that other code holds. The test itself holds no reference.
    LONG references() const { return m_references; }

    STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override {
        *ppv = nullptr;
        if (riid != IID_IUnknown && riid != __uuidof(Interface)) return E_NOINTERFACE;
        *ppv = static_cast<Interface*>(this);
        this->AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override {
        return static_cast<ULONG>(InterlockedIncrement(&m_references));
    }
    STDMETHODIMP_(ULONG) Release() override {
        return static_cast<ULONG>(InterlockedDecrement(&m_references));
    }

private:
    LONG m_references = 0;
};

using CountingUnknown = Counting<IUnknown>;

// A stream that counts references. All its IStream methods return E_NOTIMPL.
class CountingStream : public Counting<IStream> {
public:
    STDMETHODIMP Read(void*, ULONG, ULONG*) override { return E_NOTIMPL; }
    STDMETHODIMP Write(const void*, ULONG, ULONG*) override { return E_NOTIMPL; }
    STDMETHODIMP Seek(LARGE_INTEGER, DWORD, ULARGE_INTEGER*) override { return E_NOTIMPL; }
    STDMETHODIMP SetSize(ULARGE_INTEGER) override { return E_NOTIMPL; }
    STDMETHODIMP CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER*, ULARGE_INTEGER*) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP Commit(DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP Revert() override { return E_NOTIMPL; }
    STDMETHODIMP LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP Stat(STATSTG*, DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP Clone(IStream**) override { return E_NOTIMPL; }
};

// An advise sink that counts the OnDataChange notifications.
class CountingSink : public Counting<IAdviseSink> {
public:
    int changes = 0;
    STDMETHODIMP_(void) OnDataChange(FORMATETC*, STGMEDIUM*) override { ++changes; }
    STDMETHODIMP_(void) OnViewChange(DWORD, LONG) override {}
    STDMETHODIMP_(void) OnRename(IMoniker*) override {}
    STDMETHODIMP_(void) OnSave() override {}
    STDMETHODIMP_(void) OnClose() override {}
};

}  // namespace testsupport
