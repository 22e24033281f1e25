#pragma once

#include <windows.h>

#include <objbase.h>

namespace platform {

/// Holds COM initialised on this thread, as a single-threaded apartment unless the thread has
/// already chosen otherwise. That refusal is no error here: COM is there all the same, and is not
/// uninitialised at the end. Belongs to the thread that made it.
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
