#pragma once
#include <windows.h>

#include <ole2.h>

namespace testsupport {

// Keeps OLE initialized on this thread until the end of the scope. The thread is in a
// single-threaded apartment during this time.
class OleApartment {
public:
    OleApartment() { OleInitialize(nullptr); }
    OleApartment(const OleApartment&) = delete;
    OleApartment& operator=(const OleApartment&) = delete;
    ~OleApartment() { OleUninitialize(); }
};

// Dispatches window messages, and thus calls from other apartments, until `handle` is signaled.
// Returns false if `handle` is not signaled and no message arrives for 30 seconds.
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
