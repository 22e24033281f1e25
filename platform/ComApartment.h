#pragma once

#include <windows.h>

#include <objbase.h>

namespace platform {

/// Keeps COM initialized on this thread until the end of the scope, as a single-threaded apartment.
/// If the thread already belongs to another kind of apartment, that apartment is used, and the
/// destructor does not uninitialize COM. The object must be destroyed on the thread that created
/// it.
class ComApartment {
public:
    ComApartment() noexcept : m_result(::CoInitialize(nullptr)) {}
    ComApartment(const ComApartment&) = delete;
    ComApartment& operator=(const ComApartment&) = delete;
    ~ComApartment() {
        if (SUCCEEDED(m_result)) ::CoUninitialize();
    }

private:
    const HRESULT m_result;
};

}  // namespace platform
