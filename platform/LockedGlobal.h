#pragma once

#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <span>

#include "platform/UniqueHandle.h"

namespace platform {

/// Locks a global memory block from construction to the end of the scope, and provides access to
/// its bytes. The caller still owns the block. The block must outlive the LockedGlobal.
class LockedGlobal {
public:
    /// @param block  If the handle is null or invalid, bytes() returns an empty span.
    explicit LockedGlobal(HGLOBAL block) noexcept : m_block(block) {
        if (!block) return;
        m_size = ::GlobalSize(block);
        if (m_size == 0) {  // an empty block, or an invalid handle
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

    /// Returns true if the block can be read, even if it is empty.
    explicit operator bool() const noexcept { return m_readable; }

    /// Returns the bytes of the block, or an empty span if the block cannot be read. The number of
    /// bytes is the result of GlobalSize.
    std::span<std::byte> bytes() const noexcept {
        return m_data ? std::span(m_data, m_size) : std::span<std::byte>();
    }

private:
    HGLOBAL m_block;
    std::byte* m_data = nullptr;
    SIZE_T m_size = 0;
    bool m_readable = false;
};

/// Allocates a block of `size` bytes and copies `bytes` to its beginning.
///
/// @param flags  GHND, which sets the other bytes of the block to 0, or GMEM_FIXED.
/// @param size   Must not be less than the size of `bytes`.
/// @return the block, or an empty GlobalBlock if memory runs out.
inline GlobalBlock newBlock(UINT flags, std::span<const std::byte> bytes, SIZE_T size) noexcept {
    GlobalBlock block(::GlobalAlloc(flags, size));
    const LockedGlobal locked(block.get());
    if (locked.bytes().size() < size) return {};
    std::ranges::copy(bytes, locked.bytes().begin());
    return block;
}

}  // namespace platform
