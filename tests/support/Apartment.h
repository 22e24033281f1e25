#pragma once
#include <doctest/doctest.h>
#include <windows.h>

#include <objbase.h>

namespace testsupport {

/// Keeps COM initialized on this thread until the end of the scope.
class Apartment {
public:
    explicit Apartment(DWORD kind = COINIT_APARTMENTTHREADED) {
        REQUIRE(::CoInitializeEx(nullptr, kind) == S_OK);
    }
    Apartment(const Apartment&) = delete;
    Apartment& operator=(const Apartment&) = delete;
    ~Apartment() { ::CoUninitialize(); }
};

/// Returns true if COM is initialized on this thread.
inline bool isComInitialized() {
    APTTYPE type;
    APTTYPEQUALIFIER qualifier;
    return ::CoGetApartmentType(&type, &qualifier) == S_OK;
}

}  // namespace testsupport
