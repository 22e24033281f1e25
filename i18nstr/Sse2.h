#pragma once
// Operations on vectors of 16 bytes. They use SSE2 instructions, which every x64 processor
// supports. Wider vectors are not used, because on Windows, GCC may misalign them on the stack. A
// unit is a UTF-16 code unit.

#include <emmintrin.h>

#include <cstddef>
#include <cstdint>

namespace i18nstr::sse2 {

static_assert(sizeof(wchar_t) == 2, "a wide character is a UTF-16 unit");

inline constexpr std::size_t kBytes = 16;
inline constexpr std::size_t kUnits = kBytes / sizeof(wchar_t);

/// The result of highBits() if the highest bit of every byte is set.
inline constexpr unsigned kAllBytes = 0xFFFF;

inline __m128i load(const void* from) noexcept {
    return _mm_loadu_si128(static_cast<const __m128i*>(from));
}

inline void store(void* to, __m128i vector) noexcept {
    _mm_storeu_si128(static_cast<__m128i*>(to), vector);
}

/// Stores the first 8 bytes of the vector.
inline void storeHalf(void* to, __m128i vector) noexcept {
    _mm_storel_epi64(static_cast<__m128i*>(to), vector);
}

/// Stores 16 bytes as 16 units with the same values.
inline void storeWidened(wchar_t* to, __m128i bytes) noexcept {
    const __m128i zero = _mm_setzero_si128();
    store(to, _mm_unpacklo_epi8(bytes, zero));
    store(to + kUnits, _mm_unpackhi_epi8(bytes, zero));
}

inline __m128i allBytes(unsigned char value) noexcept {
    return _mm_set1_epi8(static_cast<char>(value));
}

inline __m128i allUnits(std::uint16_t value) noexcept {
    return _mm_set1_epi16(static_cast<short>(value));
}

inline __m128i allPairs(std::uint32_t value) noexcept {
    return _mm_set1_epi32(static_cast<int>(value));
}

/// Returns a mask that consists of the highest bit of each byte. The bit of the first byte is the
/// lowest bit of the mask.
inline unsigned highBits(__m128i bytes) noexcept {
    return static_cast<unsigned>(_mm_movemask_epi8(bytes));
}

/// Returns a mask that contains 0xFF for each byte whose value is in the range `first` to `last`,
/// and 0 for every other byte. `first` and `last` must be ASCII characters.
inline __m128i bytesFromTo(char first, char last, __m128i bytes) noexcept {
    return _mm_andnot_si128(_mm_cmpgt_epi8(bytes, _mm_set1_epi8(last)),
                            _mm_cmpgt_epi8(bytes, _mm_set1_epi8(static_cast<char>(first - 1))));
}

/// Returns a mask that contains 0xFFFF for each unit whose value is at most `limit`, and 0 for
/// every other unit.
inline __m128i unitsUpTo(std::uint16_t limit, __m128i units) noexcept {
    return _mm_cmpeq_epi16(_mm_subs_epu16(units, allUnits(limit)), _mm_setzero_si128());
}

/// Returns true if `mask` and `vector` have no set bits in common.
inline bool areBitsClear(__m128i mask, __m128i vector) noexcept {
    const __m128i found = _mm_and_si128(vector, mask);
    return highBits(_mm_cmpeq_epi8(found, _mm_setzero_si128())) == kAllBytes;
}

}  // namespace i18nstr::sse2
