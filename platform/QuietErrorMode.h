#pragma once

#include <windows.h>

namespace platform {

/// Prevents the system from showing error message boxes on this thread until the end of the scope.
/// A call that fails in this scope returns its error code without a message box. Use this class for
/// each call that loads a library or accesses a file. The path may be from the environment or from
/// a caller, and may specify a drive that contains no disk.
class QuietErrorMode {
public:
    QuietErrorMode() noexcept {
        ::SetThreadErrorMode(
            ::GetThreadErrorMode() | SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX, &m_before);
    }
    QuietErrorMode(const QuietErrorMode&) = delete;
    QuietErrorMode& operator=(const QuietErrorMode&) = delete;
    ~QuietErrorMode() { ::SetThreadErrorMode(m_before, nullptr); }

private:
    DWORD m_before = 0;
};

}  // namespace platform
