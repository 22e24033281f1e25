#pragma once

#include <windows.h>

#include <utility>

namespace platform {

/// Owns one global memory block and frees it exactly once with `GlobalFree`. Not for a block inside
/// a medium: `StgMedium` owns that.
class GlobalBlock {
public:
    GlobalBlock() = default;

    /// Allocates; test the result, which is null when memory runs out.
    ///
    /// @param flags  As `GlobalAlloc` takes them, GHND for a movable block of zeros.
    GlobalBlock(UINT flags, SIZE_T byteCount) noexcept : m_block(::GlobalAlloc(flags, byteCount)) {}

    GlobalBlock(const GlobalBlock&) = delete;  // a copy would be freed twice
    GlobalBlock& operator=(const GlobalBlock&) = delete;
    GlobalBlock(GlobalBlock&& other) noexcept : m_block(other.detach()) {}
    GlobalBlock& operator=(GlobalBlock&& other) noexcept {
        std::swap(m_block, other.m_block);
        return *this;
    }
    ~GlobalBlock() {
        if (m_block) ::GlobalFree(m_block);
    }

    explicit operator bool() const noexcept { return m_block != nullptr; }
    HGLOBAL get() const noexcept { return m_block; }

    /// Changes the size of a movable block.
    /// @return false when memory runs out: the block is unchanged then.
    bool resize(SIZE_T byteCount) noexcept {
        const HGLOBAL resized = ::GlobalReAlloc(m_block, byteCount, GMEM_MOVEABLE);
        if (resized) m_block = resized;
        return resized != nullptr;
    }

    /// Hands the block to the caller.
    [[nodiscard]] HGLOBAL detach() noexcept { return std::exchange(m_block, nullptr); }

private:
    HGLOBAL m_block = nullptr;
};

}  // namespace platform
