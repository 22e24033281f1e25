#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <span>
#include <string>
#include <type_traits>

namespace satellites {

/// Reads a block of bytes as a sequence of little-endian values, and never reads outside the block.
/// After an attempt to read past the end of the block, ok() returns false, and all reads return
/// zero or an empty result.
class ByteReader {
public:
    explicit ByteReader(std::span<const std::byte> bytes) noexcept : m_bytes(bytes) {}

    bool ok() const noexcept { return m_ok; }
    std::size_t position() const noexcept { return m_position; }
    std::size_t remaining() const noexcept { return m_bytes.size() - m_position; }

    template <class Value>
    Value read() noexcept {
        static_assert(std::is_trivially_copyable_v<Value>);
        Value value{};
        const auto bytes = take(sizeof value);
        if (m_ok) std::memcpy(&value, bytes.data(), sizeof value);
        return value;
    }

    /// Returns the next `count` bytes without copying them.
    std::span<const std::byte> take(std::size_t count) noexcept {
        if (!m_ok || count > remaining()) {
            m_ok = false;
            return {};
        }
        const auto taken = m_bytes.subspan(m_position, count);
        m_position += count;
        return taken;
    }

    /// Reads `count` UTF-16 code units.
    std::wstring units(std::size_t count) {
        if (count > remaining() / sizeof(wchar_t)) {
            m_ok = false;
            return {};
        }
        const auto bytes = take(count * sizeof(wchar_t));
        std::wstring text(bytes.size() / sizeof(wchar_t), L'\0');
        if (!bytes.empty()) std::memcpy(text.data(), bytes.data(), bytes.size());
        return text;
    }

    /// Reads a UTF-16 string up to its terminating NUL, and moves past the NUL.
    std::wstring terminatedText() {
        std::wstring text;
        while (m_ok) {
            const auto unit = read<wchar_t>();
            if (unit == L'\0') break;
            text.push_back(unit);
        }
        return text;
    }

    /// Moves to the next position that is a multiple of `alignment`. If the block ends earlier, the
    /// function moves to the end of the block, because the block may end without padding.
    void align(std::size_t alignment) noexcept {
        const std::size_t rest = m_position % alignment;
        if (rest == 0) return;
        m_position += std::min(alignment - rest, remaining());
    }

    void seek(std::size_t position) noexcept {
        if (position > m_bytes.size()) {
            m_ok = false;
        } else {
            m_position = position;
        }
    }

private:
    std::span<const std::byte> m_bytes;
    std::size_t m_position = 0;
    bool m_ok = true;
};

}  // namespace satellites
