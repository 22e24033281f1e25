#pragma once

#include <windows.h>

#include <ole2.h>

#include <chrono>
#include <functional>
#include <future>
#include <thread>
#include <utility>

/// The maximum time that a program waits for another program to deliver the data in one format.
inline constexpr std::chrono::seconds kReadLimit{5};

/// Initializes OLE on the current thread, and uninitializes it at the end of the scope.
class OleApartment {
public:
    OleApartment() : m_result(::OleInitialize(nullptr)) {}
    OleApartment(const OleApartment&) = delete;
    OleApartment& operator=(const OleApartment&) = delete;
    ~OleApartment() {
        if (SUCCEEDED(m_result)) ::OleUninitialize();
    }

private:
    HRESULT m_result;
};

/// Runs a function on a new thread, and initializes OLE on that thread.
///
/// If the owner of the clipboard uses delayed rendering and does not respond, a read of the
/// clipboard blocks indefinitely. With this class, the thread that created the object can stop
/// waiting, while the new thread continues to run.
template <class Result>
class Background {
public:
    /// Calls `work` and then `onEnd` on the new thread. Both functions must own all objects that
    /// they use, because the thread may outlive this object.
    explicit Background(
        std::function<Result()> work, std::function<void()> onEnd = [] {}) {
        std::packaged_task<Result()> task([work = std::move(work)] {
            const OleApartment apartment;
            return work();
        });
        m_result = task.get_future();
        m_thread = std::thread([task = std::move(task), onEnd = std::move(onEnd)]() mutable {
            task();
            onEnd();
        });
    }
    Background(const Background&) = delete;
    Background& operator=(const Background&) = delete;
    /// Does not wait for the work to end. If the work has not ended, the thread continues to run.
    ~Background() {
        if (!m_result.valid() || hasEnded())  // m_result is invalid after get()
            m_thread.join();
        else
            m_thread.detach();
    }

    /// Waits until the work has ended or the time limit has elapsed.
    /// @return true if the work has ended.
    bool waitFor(std::chrono::seconds limit) const {
        return m_result.wait_for(limit) == std::future_status::ready;
    }
    bool hasEnded() const { return waitFor(std::chrono::seconds(0)); }

    /// Waits until the work has ended, and returns its result. Call this function only once.
    /// @throws Any exception that `work` throws.
    Result get() { return m_result.get(); }

private:
    std::future<Result> m_result;
    std::thread m_thread;
};
