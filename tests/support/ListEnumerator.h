#pragma once
// The enumerator of a DOM list. The library never requests it.
#include <windows.h>

namespace testsupport {

/// Implements the `_newEnum` property of a list of nodes: reading the property returns E_NOTIMPL.
/// The method that reads it is named get__newEnum in Microsoft's headers and in MinGW-w64 before
/// version 11. The method is named _newEnum in later versions of MinGW-w64 and in Wine's headers.
template <class List>
class WithoutEnumerator : public List {
public:
    using List::List;
    STDMETHODIMP get__newEnum(IUnknown**) override { return E_NOTIMPL; }
};

template <class List>
requires requires(List& list) { list._newEnum(nullptr); }
class WithoutEnumerator<List> : public List {
public:
    using List::List;
    STDMETHODIMP _newEnum(IUnknown**) override { return E_NOTIMPL; }
};

}  // namespace testsupport
