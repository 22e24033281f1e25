#include <string>

#include "fuzzing/Fuzzer.h"
#include "tests/support/EndOfPage.h"

namespace fuzz {

namespace {

using testsupport::EndOfPage;

constexpr std::size_t kRoom = 1 << 18;  // in bytes; enough for the longest input in UTF-16

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

template <class Char>
std::basic_string_view<Char> withTerminator(const std::basic_string<Char>& text) {
    return {text.c_str(), text.size() + 1};
}

}  // namespace

std::string_view Input::bytes() const {
    static const EndOfPage s_memory(kRoom);
    return {s_memory.put(m_bytes), m_bytes.size()};
}

std::string_view Input::terminatedBytes() const {
    static const EndOfPage s_memory(kRoom);
    const std::string copy(m_bytes);
    return {s_memory.put(withTerminator(copy)), copy.size()};
}

std::wstring_view Input::units() const {
    static const EndOfPage s_memory(kRoom);
    const std::size_t odd = m_bytes.size() % sizeof(wchar_t);
    const char* const units = s_memory.put(m_bytes.substr(odd));
    return {reinterpret_cast<const wchar_t*>(units), m_bytes.size() / sizeof(wchar_t)};
}

std::wstring_view Input::text() const {
    static const EndOfPage s_memory(kRoom);
    const std::wstring text = textOf(m_bytes);
    return {s_memory.put(std::wstring_view(text)), text.size()};
}

wchar_t* Input::terminatedText() const {
    static const EndOfPage s_memory(kRoom);
    const std::wstring text = textOf(m_bytes);
    return s_memory.put(withTerminator(text));
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
