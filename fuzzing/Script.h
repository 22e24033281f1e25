#pragma once
// Uses the bytes of an input as a sequence of choices.
#include <string_view>

namespace fuzz {

class Script {
public:
    explicit Script(std::string_view bytes) : m_bytes(bytes) {}

    bool ended() const { return m_bytes.empty(); }

    /// Returns the next byte, or 0 if no bytes remain.
    unsigned next() {
        if (ended()) return 0;
        const auto byte = static_cast<unsigned char>(m_bytes.front());
        m_bytes.remove_prefix(1);
        return byte;
    }

    /// Returns the element of `choices` that the next byte selects.
    template <class Choice, std::size_t count>
    const Choice& oneOf(const Choice (&choices)[count]) {
        return choices[next() % count];
    }

    /// Returns the next `count` bytes, or all remaining bytes if there are fewer.
    std::string_view take(std::size_t count) {
        const std::string_view taken = m_bytes.substr(0, count);
        m_bytes.remove_prefix(taken.size());
        return taken;
    }

private:
    std::string_view m_bytes;
};

}  // namespace fuzz
