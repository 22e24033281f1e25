#pragma once
#include <windows.h>

#include <mlang.h>
#include <oleauto.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace i18nsystests {

/// A multi-language service that returns the results that a test has set, and records the arguments
/// of the calls. The test owns the object and holds one reference to it.
class ScriptedMultiLanguage final : public IMultiLanguage {
public:
    // Results.
    HRESULT result = S_OK;
    LCID lcid = 0;
    std::optional<std::wstring> tag;  // if not set, no BSTR is returned

    // Records.
    std::wstring requestedTag;
    LCID requestedLcid = 0;
    long references = 1;
    std::function<void()> onLastRelease;

    // IUnknown
    STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
        const bool known = iid == IID_IUnknown || iid == kIid;
        *object = known ? this : nullptr;
        if (known) AddRef();
        return known ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override {
        return static_cast<ULONG>(::InterlockedIncrement(&references));
    }
    STDMETHODIMP_(ULONG) Release() override {
        const long left = ::InterlockedDecrement(&references);
        if (left == 1 && onLastRelease) onLastRelease();
        return static_cast<ULONG>(left);
    }

    // IMultiLanguage
    STDMETHODIMP GetNumberOfCodePageInfo(UINT*) override { return E_NOTIMPL; }
    STDMETHODIMP GetCodePageInfo(UINT, PMIMECPINFO) override { return E_NOTIMPL; }
    STDMETHODIMP GetFamilyCodePage(UINT, UINT*) override { return E_NOTIMPL; }
    STDMETHODIMP EnumCodePages(DWORD, IEnumCodePage**) override { return E_NOTIMPL; }
    STDMETHODIMP GetCharsetInfo(BSTR, PMIMECSETINFO) override { return E_NOTIMPL; }
    STDMETHODIMP IsConvertible(DWORD, DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP ConvertString(DWORD*, DWORD, DWORD, BYTE*, UINT*, BYTE*, UINT*) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP ConvertStringToUnicode(DWORD*, DWORD, CHAR*, UINT*, WCHAR*, UINT*) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP ConvertStringFromUnicode(DWORD*, DWORD, WCHAR*, UINT*, CHAR*, UINT*) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP ConvertStringReset() override { return E_NOTIMPL; }
    STDMETHODIMP GetRfc1766FromLcid(LCID queried, BSTR* answer) override {
        requestedLcid = queried;
        if (SUCCEEDED(result) && tag)
            *answer = ::SysAllocStringLen(tag->data(), static_cast<UINT>(tag->size()));
        return result;
    }
    STDMETHODIMP GetLcidFromRfc1766(LCID* answer, BSTR queried) override {
        requestedTag.assign(queried, ::SysStringLen(queried));
        *answer = lcid;
        return result;
    }
    STDMETHODIMP EnumRfc1766(IEnumRfc1766**) override { return E_NOTIMPL; }
    STDMETHODIMP GetRfc1766Info(LCID, PRFC1766INFO) override { return E_NOTIMPL; }
    STDMETHODIMP CreateConvertCharset(UINT, UINT, DWORD, IMLangConvertCharset**) override {
        return E_NOTIMPL;
    }

    static constexpr GUID kIid = {
        0x275C23E1, 0x3747, 0x11D0, {0x9F, 0xEA, 0x00, 0xAA, 0x00, 0x3F, 0x86, 0x46}};
};

}  // namespace i18nsystests
