#include <cstring>
#include <string>

#include "fuzzing/Fuzzer.h"

namespace fuzz {

namespace {

constexpr std::size_t kRoom = 1 << 18;
constexpr std::size_t kPage = 4096;

wchar_t unitFor(unsigned char byte) {
    constexpr wchar_t kSpecial[] = {0xD800, 0xDBFF, 0xDC00, 0xDFFF, 0xFFFE, 0xFFFF, 0xFEFF, 0x00DF,
                                    0x0130, 0x0131, 0x2028, 0x65E5, 0xFF21, 0x0301, 0x0000, 0x0100};
    return byte < 0xC0 ? static_cast<wchar_t>(byte) : kSpecial[byte % std::size(kSpecial)];
}

std::wstring textOf(std::string_view bytes) {
    std::wstring text;
    for (const char byte : bytes) text += unitFor(static_cast<unsigned char>(byte));
    return text;
}

}  // namespace

GuardedBuffer::GuardedBuffer() {
    auto* const base =
        static_cast<char*>(::VirtualAlloc(nullptr, kRoom + kPage, MEM_RESERVE, PAGE_NOACCESS));
    require(base && ::VirtualAlloc(base, kRoom, MEM_COMMIT, PAGE_READWRITE));
    m_end = base + kRoom;
}

char* GuardedBuffer::put(const void* data, std::size_t size) {
    require(size <= kRoom);
    char* const begin = m_end - size;
    if (size > 0) std::memcpy(begin, data, size);
    return begin;
}

std::string_view Input::bytes() const {
    static GuardedBuffer s_buffer;
    return {s_buffer.put(m_bytes.data(), m_bytes.size()), m_bytes.size()};
}

std::string_view Input::terminatedBytes() const {
    static GuardedBuffer s_buffer;
    const std::string copy(m_bytes);
    return {s_buffer.put(copy.c_str(), copy.size() + 1), copy.size()};
}

std::wstring_view Input::units() const {
    static GuardedBuffer s_buffer;
    const std::size_t count = m_bytes.size() / sizeof(wchar_t);
    const char* const first = m_bytes.data() + m_bytes.size() % sizeof(wchar_t);
    return {reinterpret_cast<const wchar_t*>(s_buffer.put(first, count * sizeof(wchar_t))), count};
}

std::wstring_view Input::text() const {
    static GuardedBuffer s_buffer;
    const std::wstring text = textOf(m_bytes);
    const std::size_t size = text.size() * sizeof(wchar_t);
    return {reinterpret_cast<const wchar_t*>(s_buffer.put(text.data(), size)), text.size()};
}

wchar_t* Input::terminatedText() const {
    static GuardedBuffer s_buffer;
    const std::wstring text = textOf(m_bytes);
    const std::size_t size = (text.size() + 1) * sizeof(wchar_t);
    return reinterpret_cast<wchar_t*>(s_buffer.put(text.c_str(), size));
}

unsigned Input::hash() const {
    unsigned hash = 2166136261u;
    for (const char byte : m_bytes) hash = (hash ^ static_cast<unsigned char>(byte)) * 16777619u;
    return hash ^ hash >> 15;
}

void require(bool holds) {
    if (!holds)
        ::RaiseException(EXCEPTION_ILLEGAL_INSTRUCTION, EXCEPTION_NONCONTINUABLE, 0, nullptr);
}

}  // namespace fuzz
