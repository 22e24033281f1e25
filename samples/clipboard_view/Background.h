#pragma once

#include <windows.h>

#include <ole2.h>

#include <chrono>
#include <functional>
#include <future>
#include <thread>
#include <utility>

/// The time that a program waits for another program to deliver a format.
inline constexpr std::chrono::seconds kReadLimit{5};

/// Keeps OLE initialised on the current thread from construction to destruction.
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

/// Runs a function on a new thread with its own OLE apartment.
///
/// Reading a clipboard format can block without end: its owner makes the data when it is read. So
/// the waiting thread may stop waiting and let this thread run on.
template <class Result>
class Background {
public:
    /// Runs `work`, then `ended`, on the thread. Both must own everything that they use.
    explicit Background(
        std::function<Result()> work, std::function<void()> ended = [] {}) {
        std::packaged_task<Result()> task([work = std::move(work)] {
            const OleApartment apartment;
            return work();
        });
        m_result = task.get_future();
        m_thread = std::thread([task = std::move(task), ended = std::move(ended)]() mutable {
            task();
            ended();
        });
    }
    Background(const Background&) = delete;
    Background& operator=(const Background&) = delete;
    /// If the work has not ended, the thread runs on by itself.
    ~Background() {
        if (!m_result.valid() || hasEnded())  // get() takes the result away
            m_thread.join();
        else
            m_thread.detach();
    }

    /// Waits for the end of the work.
    /// @return false when the time is up.
    bool waitFor(std::chrono::seconds limit) const {
        return m_result.wait_for(limit) == std::future_status::ready;
    }
    bool hasEnded() const { return waitFor(std::chrono::seconds(0)); }

    /// Waits for the work. Call it once.
    /// @throws whatever the work throws.
    Result get() { return m_result.get(); }

private:
    std::future<Result> m_result;
    std::thread m_thread;
};
