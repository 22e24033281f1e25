#pragma once

#include <windows.h>

namespace platform {

/// Enters a critical section, and leaves it at the end of the scope. The thread may already own the
/// critical section.
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
