#pragma once
// Runs a piece of a test in a thread of its own and waits for it, but not for ever: a lock that was
// never given back fails the test instead of stopping it.
#include <windows.h>

#include <functional>
#include <memory>

namespace testsupport {

// Whether `body` came to its end. A thread that did not is left behind.
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
