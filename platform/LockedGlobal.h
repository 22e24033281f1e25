#pragma once

#include <windows.h>

#include <cstddef>
#include <span>

namespace platform {

/// Keeps a global memory block locked from construction to the end of the scope, and reports its
/// size. The caller keeps ownership of the block, which must outlive the lock.
class LockedGlobal {
public:
    /// @param block  May be null or any other handle that the system refuses: the lock is then
    ///               empty.
    explicit LockedGlobal(HGLOBAL block) noexcept : m_block(block) {
        if (!block) return;
        m_size = ::GlobalSize(block);
        if (m_size == 0) {  // the size of a block of no bytes, and of an invalid handle
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

    /// Whether the block can be read. True for a block of no bytes.
    explicit operator bool() const noexcept { return m_readable; }

    /// The whole block, in the size that the system reports; empty when it is not readable.
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
