#pragma once
// The enumerator of a DOM list, which the library never requests.
#include <windows.h>

namespace testsupport {

/// Implements the property `_newEnum` of a list of nodes: it is not supported. Microsoft's headers
/// and MinGW-w64's before version 11 call the method get__newEnum, later ones and Wine's _newEnum.
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
