#pragma once

#include <windows.h>

namespace platform {

/// Holds a slim reader/writer lock exclusively from construction to the end of the scope. The lock
/// is not recursive.
class SlimLock {
public:
    explicit SlimLock(SRWLOCK& lock) noexcept : m_lock(lock) { ::AcquireSRWLockExclusive(&m_lock); }
    SlimLock(const SlimLock&) = delete;
    SlimLock& operator=(const SlimLock&) = delete;
    ~SlimLock() { ::ReleaseSRWLockExclusive(&m_lock); }

private:
    SRWLOCK& m_lock;
};

}  // namespace platform
