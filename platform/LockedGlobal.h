#pragma once

#include <windows.h>

#include <cstddef>
#include <span>

namespace platform {

/// Holds a global memory block locked from construction to the end of the scope and knows its
/// bounds. The block stays with its owner, which must outlive the lock.
class LockedGlobal {
public:
    /// @param block  May be null or any other handle that the system refuses: there is nothing to
    ///               read then.
    explicit LockedGlobal(HGLOBAL block) noexcept : m_block(block) {
        if (!block) return;
        m_size = ::GlobalSize(block);
        if (m_size == 0) {  // nothing to lock; a block all the same, unless the handle is none
            m_readable = ::GlobalFlags(block) != GMEM_INVALID_HANDLE;
            return;
        }
        m_data = static_cast<std::byte*>(::GlobalLock(block));
        m_readable = m_data != nullptr;
    }
    LockedGlobal(const LockedGlobal&) = delete;
    LockedGlobal& operator=(const LockedGlobal&) = delete;
    ~LockedGlobal() {
        if (m_data) ::GlobalUnlock(m_block);
    }

    /// Whether this is a block whose contents can be reached. True for a block of no bytes.
    explicit operator bool() const noexcept { return m_readable; }

    /// The whole block as the system knows its size, slack included; empty when it is not readable.
    std::span<std::byte> bytes() const noexcept {
        return m_data ? std::span(m_data, m_size) : std::span<std::byte>();
    }

private:
    HGLOBAL m_block;
    std::byte* m_data = nullptr;
    SIZE_T m_size = 0;
    bool m_readable = false;
};

}  // namespace platform
