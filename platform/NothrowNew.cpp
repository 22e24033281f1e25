// In libstdc++, the nothrow `operator new` calls the throwing `operator new` and catches its
// exception. Throwing an exception requires memory. If this memory cannot be allocated, MinGW-w64's
// runtime library ends the thread. The replacement below does not throw. It calls malloc, because
// libstdc++'s `operator delete` calls free.
#include <new>

#if defined(__MINGW32__)

#include <cstdlib>

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return std::malloc(size == 0 ? 1 : size);
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return std::malloc(size == 0 ? 1 : size);
}

#endif
