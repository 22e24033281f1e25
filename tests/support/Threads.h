#pragma once
// Threads that are created with CreateThread. The tests do not use std::thread, because the C++
// library keeps thread handles in a pool that grows unpredictably. The leak listener would report
// this growth as a leak.
#include <windows.h>

#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "tests/support/LeakListener.h"

namespace testsupport {

// Runs a function on a new thread. The destructor waits until the function has returned.
class Thread {
public:
    explicit Thread(std::function<void()> body)
        : m_body(std::move(body)),
          m_handle(CreateThread(nullptr, 0, &Thread::run, &m_body, 0, nullptr)) {}
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;
    ~Thread() {
        WaitForSingleObject(m_handle, INFINITE);
        CloseHandle(m_handle);
    }

    // Returns a handle that is signaled when the thread has ended.
    HANDLE handle() const { return m_handle; }

private:
    static DWORD WINAPI run(void* body) {
        (*static_cast<std::function<void()>*>(body))();
        return 0;
    }

    std::function<void()> m_body;
    const HANDLE m_handle;
};

// Runs a function on a new thread and returns its result.
template <class Function>
auto onAnotherThread(Function function) {
    decltype(function()) answer{};
    Thread([&] { answer = function(); });
    return answer;
}

// Runs a function on several threads at the same time and waits for all threads.
inline void onThreads(int count, const std::function<void()>& body) {
    ignoreHandles();
    std::vector<std::unique_ptr<Thread>> threads;
    for (int i = 0; i < count; ++i) threads.push_back(std::make_unique<Thread>(body));
}

}  // namespace testsupport
