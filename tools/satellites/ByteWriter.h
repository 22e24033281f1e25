#pragma once

#include <cstddef>
#include <cstring>
#include <span>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace satellites {

/// Builds a block of bytes from little-endian values.
class ByteWriter {
public:
    template <class Value>
    void write(const Value& value) {
        static_assert(std::is_trivially_copyable_v<Value>);
        append(std::as_bytes(std::span(&value, 1)));
    }
    void append(std::span<const std::byte> bytes) {
        for (const std::byte each : bytes) m_bytes.push_back(each);
    }
    void units(std::wstring_view text) { append(std::as_bytes(std::span(text))); }
    void terminatedText(std::wstring_view text) {
        units(text);
        write(L'\0');
    }
    void align(std::size_t alignment) {
        while (m_bytes.size() % alignment != 0) m_bytes.push_back(std::byte{0});
    }

    /// Overwrites bytes that were written earlier.
    template <class Value>
    void overwrite(std::size_t position, const Value& value) {
        std::memcpy(m_bytes.data() + position, &value, sizeof value);
    }

    std::size_t size() const noexcept { return m_bytes.size(); }
    std::vector<std::byte> take() noexcept { return std::move(m_bytes); }

private:
    std::vector<std::byte> m_bytes;
};

}  // namespace satellites
