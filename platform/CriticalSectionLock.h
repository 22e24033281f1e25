#pragma once

#include <windows.h>

namespace platform {

/// Holds a critical section from construction to the end of the scope. The thread may already hold
/// the critical section.
class CriticalSectionLock {
public:
    explicit CriticalSectionLock(CRITICAL_SECTION& section) noexcept : m_section(section) {
        ::EnterCriticalSection(&m_section);
    }
    CriticalSectionLock(const CriticalSectionLock&) = delete;
    CriticalSectionLock& operator=(const CriticalSectionLock&) = delete;
    ~CriticalSectionLock() { ::LeaveCriticalSection(&m_section); }

private:
    CRITICAL_SECTION& m_section;
};

}  // namespace platform
