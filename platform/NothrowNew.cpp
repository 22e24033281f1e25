// libstdc++ implements `new (std::nothrow)` by a `new` that throws and a `catch`. A throw needs
// memory, and if that cannot be allocated, MinGW-w64's runtime library ends the thread. This
// replacement does not throw: it calls malloc, whose result libstdc++'s `operator delete` frees.
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
