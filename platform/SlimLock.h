#pragma once

#include <windows.h>

namespace platform {

/// Acquires a slim reader/writer (SRW) lock in exclusive mode, and releases it at the end of the
/// scope. SRW locks cannot be acquired recursively.
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
