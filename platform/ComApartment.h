#pragma once

#include <windows.h>

#include <objbase.h>

namespace platform {

/// Initializes COM on this thread, which enters a single-threaded apartment. The destructor
/// uninitializes COM. If the thread already belongs to the multithreaded apartment, it remains in
/// that apartment, and the destructor does nothing. The object must be destroyed on the thread that
/// created it.
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
