#pragma once

#include <windows.h>

namespace platform {

/// Owns one block that the system allocated for its caller to free with LocalFree, such as the text
/// of FormatMessageW.
class LocalMemory {
public:
    LocalMemory() = default;
    LocalMemory(const LocalMemory&) = delete;  // a copy would be freed twice
    LocalMemory& operator=(const LocalMemory&) = delete;
    ~LocalMemory() { ::LocalFree(m_block); }

    void* get() const noexcept { return m_block; }

    /// For calls that hand out a block: the object must be empty.
    void** receive() noexcept { return &m_block; }

private:
    void* m_block = nullptr;  // LocalFree ignores null
};

}  // namespace platform
