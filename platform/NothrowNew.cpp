// libstdc++ implements `new (std::nothrow)` by a `new` that throws and a `catch`. To throw takes
// memory, and while memory stays exhausted MinGW-w64's runtime ends the thread instead. So here
// nothrow allocation is what its name says: libstdc++'s `operator delete` frees what malloc
// returned.
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
