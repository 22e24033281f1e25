#pragma once

#include <windows.h>

#include <ole2.h>

#include <chrono>
#include <functional>
#include <future>
#include <thread>
#include <utility>

/// How long a program waits for another program to deliver a format.
inline constexpr std::chrono::seconds kReadLimit{5};

/// OLE for the current thread, from construction to destruction.
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
/// Reading a clipboard format can block for ever: its owner makes the data when it is read. Whoever
/// waits may therefore give up and leave the thread behind.
template <class Result>
class Background {
public:
    /// Runs `work`, then `ended`, on the thread. Both must own all that they use.
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
    /// Leaves the thread behind if it has not ended its work.
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
