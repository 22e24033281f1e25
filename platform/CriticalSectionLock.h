#pragma once

#include <windows.h>

namespace platform {

/// Holds a critical section from construction to the end of the scope, also when that is left by an
/// exception.
class CriticalSectionLock {
public:
    explicit CriticalSectionLock(CRITICAL_SECTION& section) noexcept : m_section(section) {
        // What is done under the library's locks takes as a rule less time than the system needs to
        // stop a thread and wake it. Whoever waits looks away for longer each time: looking takes
        // the lock's memory from the processor that is about to leave it.
        for (int pauses = kFirstPauses; !::TryEnterCriticalSection(&m_section); pauses *= 2) {
            if (pauses > kMostPauses) {
                ::EnterCriticalSection(&m_section);
                return;
            }
            for (int i = 0; i < pauses; ++i) YieldProcessor();
        }
    }
    CriticalSectionLock(const CriticalSectionLock&) = delete;
    CriticalSectionLock& operator=(const CriticalSectionLock&) = delete;
    ~CriticalSectionLock() { ::LeaveCriticalSection(&m_section); }

private:
    static constexpr int kFirstPauses = 16;
    static constexpr int kMostPauses = 1024;

    CRITICAL_SECTION& m_section;
};

}  // namespace platform
