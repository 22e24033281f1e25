#pragma once
// Allocates memory that ends at an inaccessible page. Reading one byte past the end of the memory
// causes an access violation.
#include <windows.h>

#include <cstddef>
#include <cstring>
#include <new>
#include <stdexcept>
#include <string_view>

namespace testsupport {

class EndOfPage {
public:
    explicit EndOfPage(std::size_t size)
        : m_size(size),
          m_pages(static_cast<char*>(
              ::VirtualAlloc(nullptr, accessible() + kPage, MEM_RESERVE, PAGE_NOACCESS))) {
        if (!m_pages || !::VirtualAlloc(m_pages, accessible(), MEM_COMMIT, PAGE_READWRITE))
            throw std::bad_alloc();
    }
    EndOfPage(const EndOfPage&) = delete;
    EndOfPage& operator=(const EndOfPage&) = delete;
    ~EndOfPage() { ::VirtualFree(m_pages, 0, MEM_RELEASE); }

    // Returns the address of the last `count` characters of the memory.
    template <class Char>
    Char* last(std::size_t count) const {
        if (count * sizeof(Char) > m_size) throw std::length_error("too long for the memory");
        return reinterpret_cast<Char*>(m_pages + accessible()) - count;
    }

    // Copies the string to the end of the memory and returns the address of the copy. No terminator
    // is added.
    template <class Char>
    Char* put(std::basic_string_view<Char> text) const {
        Char* const copy = last<Char>(text.size());
        if (!text.empty()) std::memcpy(copy, text.data(), text.size() * sizeof(Char));
        return copy;
    }

private:
    static constexpr std::size_t kPage = 4096;

    std::size_t accessible() const { return (m_size / kPage + 1) * kPage; }

    std::size_t m_size;
    char* m_pages;
};

}  // namespace testsupport
