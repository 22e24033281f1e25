#pragma once
// A base class for DOM lists without an enumerator. The library never requests the enumerator of a
// list.
#include <windows.h>

namespace testsupport {

/// Implements the method that reads the `_newEnum` property of a list of nodes. The method returns
/// E_NOTIMPL. The name of the method depends on the headers. Microsoft's headers and versions of
/// MinGW-w64 earlier than 11 use the name get__newEnum. Wine's headers and later versions of
/// MinGW-w64 use the name _newEnum.
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
