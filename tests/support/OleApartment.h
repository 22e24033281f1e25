#pragma once
#include <windows.h>

#include <ole2.h>

namespace testsupport {

// Holds OLE initialised on this thread, which becomes a single-threaded apartment.
class OleApartment {
public:
    OleApartment() { OleInitialize(nullptr); }
    OleApartment(const OleApartment&) = delete;
    OleApartment& operator=(const OleApartment&) = delete;
    ~OleApartment() { OleUninitialize(); }
};

// Serves the calls of other apartments to this one until `handle` is signalled.
inline bool pumpUntil(HANDLE handle) {
    for (;;) {
        const DWORD woken = MsgWaitForMultipleObjects(1, &handle, FALSE, 30000, QS_ALLINPUT);
        if (woken != WAIT_OBJECT_0 + 1) return woken == WAIT_OBJECT_0;
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
            TranslateMessage(&message);
            DispatchMessageW(&message);
        }
    }
}

}  // namespace testsupport
