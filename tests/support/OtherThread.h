#pragma once
// Runs part of a test on another thread with a time limit. If the other thread waits for a lock
// that is never released, the test fails instead of hanging.
#include <windows.h>

#include <functional>
#include <memory>

namespace testsupport {

// Returns true if `body` ends within the time limit. If `body` does not end in time, the thread
// keeps running.
inline bool otherThreadFinishes(std::function<void()> body, DWORD milliseconds = 5000) {
    auto task = std::make_unique<std::function<void()>>(std::move(body));
    const auto run = [](void* parameter) -> DWORD {
        const std::unique_ptr<std::function<void()>> owned(
            static_cast<std::function<void()>*>(parameter));
        (*owned)();
        return 0;
    };
    const HANDLE thread = ::CreateThread(nullptr, 0, run, task.get(), 0, nullptr);
    if (!thread) return false;
    task.release();
    const bool finished = ::WaitForSingleObject(thread, milliseconds) == WAIT_OBJECT_0;
    ::CloseHandle(thread);
    return finished;
}

}  // namespace testsupport
