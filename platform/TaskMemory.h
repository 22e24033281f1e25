#pragma once

#include <windows.h>

#include <objbase.h>

#include <memory>

namespace platform {

struct TaskMemoryFree {
    void operator()(void* block) const noexcept { ::CoTaskMemFree(block); }
};

/// Owns one block of task memory and frees it exactly once with `CoTaskMemFree`.
template <class T>
using TaskMemory = std::unique_ptr<T, TaskMemoryFree>;

}  // namespace platform
