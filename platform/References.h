#pragma once

#include <windows.h>

#include <unknwn.h>

#include <climits>

namespace platform {

/// The reference count of a COM object while its destructor runs. The destructor may call code that
/// adds a reference and releases it. With this value, the count does not reach 0 a second time.
inline constexpr LONG kReferencesInDestruction = LONG_MAX / 2;

/// Releases one reference. If no reference remains, the function sets the count to
/// kReferencesInDestruction, and the caller must destroy the object.
/// @return the number of remaining references.
inline LONG releaseReference(LONG& references) noexcept {
    const LONG left = ::InterlockedDecrement(&references);
    if (left == 0) references = kReferencesInDestruction;
    return left;
}

/// Returns true if the destructor of an object with this reference count is running.
inline bool isInDestruction(LONG references) noexcept {
    return references >= kReferencesInDestruction / 2;
}

/// Implements QueryInterface for an object whose interfaces are IUnknown and `Interface`.
/// @param interfaceId  The identifier of `Interface`.
/// @param[out] result  The requested interface, with a new reference. Null on failure.
/// @return S_OK; E_INVALIDARG if `result` is null; E_NOINTERFACE if the object does not support the
///         requested interface.
template <class Interface>
HRESULT queryInterface(Interface& object, REFIID interfaceId, REFIID requested, void** result) {
    if (!result) return E_INVALIDARG;
    *result = nullptr;
    if (requested != IID_IUnknown && requested != interfaceId) return E_NOINTERFACE;
    *result = &object;
    object.AddRef();
    return S_OK;
}

}  // namespace platform
