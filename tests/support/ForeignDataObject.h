#pragma once
// A data object that is not a CDataObject. Its methods call functions that the test sets. A method
// without such a function returns an error.
#include <functional>
#include <vector>

#include "tests/support/Counting.h"

namespace testsupport {

class ForeignDataObject : public Counting<IDataObject> {
public:
    std::function<HRESULT(const FORMATETC&, STGMEDIUM&)> onGetData;
    std::function<HRESULT(const FORMATETC&)> onQueryGetData;
    std::function<HRESULT(const FORMATETC&, STGMEDIUM&, bool release)> onSetData;
    std::function<HRESULT(IEnumFORMATETC**)> onEnumFormats;

    STDMETHODIMP GetData(FORMATETC* format, STGMEDIUM* medium) override {
        return onGetData ? onGetData(*format, *medium) : DV_E_FORMATETC;
    }
    STDMETHODIMP GetDataHere(FORMATETC*, STGMEDIUM*) override { return E_NOTIMPL; }
    STDMETHODIMP QueryGetData(FORMATETC* format) override {
        return onQueryGetData ? onQueryGetData(*format) : DV_E_FORMATETC;
    }
    STDMETHODIMP GetCanonicalFormatEtc(FORMATETC*, FORMATETC*) override { return E_NOTIMPL; }
    STDMETHODIMP SetData(FORMATETC* format, STGMEDIUM* medium, BOOL release) override {
        return onSetData ? onSetData(*format, *medium, release != FALSE) : E_NOTIMPL;
    }
    STDMETHODIMP EnumFormatEtc(DWORD direction, IEnumFORMATETC** enumerator) override {
        *enumerator = nullptr;
        return onEnumFormats && direction == DATADIR_GET ? onEnumFormats(enumerator) : E_NOTIMPL;
    }
    STDMETHODIMP DAdvise(FORMATETC*, DWORD, IAdviseSink*, DWORD*) override { return E_NOTIMPL; }
    STDMETHODIMP DUnadvise(DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP EnumDAdvise(IEnumSTATDATA**) override { return E_NOTIMPL; }
};

// A data object that returns the same medium for every format.
class SingleMediumObject : public ForeignDataObject {
public:
    explicit SingleMediumObject(STGMEDIUM medium, HRESULT hr = S_OK) {
        onGetData = [medium, hr](const FORMATETC&, STGMEDIUM& received) {
            received = medium;
            return hr;
        };
    }
};

// An enumerator whose Next method calls `onNext`. The test can set `onNext`, or pass a list of
// formats to the constructor.
class ForeignEnumerator : public Counting<IEnumFORMATETC> {
public:
    ForeignEnumerator() = default;
    explicit ForeignEnumerator(std::vector<FORMATETC> formats) {
        onNext = [list = std::move(formats), position = std::size_t{0}](FORMATETC& format) mutable {
            if (position == list.size()) return S_FALSE;
            format = list[position++];
            return S_OK;
        };
    }

    std::function<HRESULT(FORMATETC&)> onNext;

    STDMETHODIMP Next(ULONG, FORMATETC* formats, ULONG* fetched) override {
        const HRESULT hr = onNext ? onNext(*formats) : S_FALSE;
        if (fetched) *fetched = hr == S_OK ? 1 : 0;
        return hr;
    }
    STDMETHODIMP Skip(ULONG) override { return E_NOTIMPL; }
    STDMETHODIMP Reset() override { return E_NOTIMPL; }
    STDMETHODIMP Clone(IEnumFORMATETC**) override { return E_NOTIMPL; }
};

}  // namespace testsupport
