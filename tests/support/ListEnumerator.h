#pragma once
// The enumerator of a DOM list, which the library never requests.
#include <windows.h>

namespace testsupport {

/// Implements the property `_newEnum` of a list of nodes, which is not supported. Microsoft's
/// headers and those of MinGW-w64 before version 11 name the method get__newEnum; later ones and
/// Wine's name it _newEnum.
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
