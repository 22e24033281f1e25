#include "i18nstr/Utf8.h"

#include <bit>
#include <cstdint>
#include <cstring>

#include "i18nstr/Sse2.h"

// Text is loaded into vectors of 16 bytes. The characters of a vector are converted together, with
// a few instructions, in these cases:
// - All characters are ASCII characters.
// - Each character has at most two bytes in UTF-8.
// - Each character has three bytes in UTF-8.
// - Each character has four bytes in UTF-8.
//
// In all other cases, the characters are converted one by one, except that consecutive ASCII
// characters may be converted together. The last characters of the text are also converted one by
// one.
//
// The functions that convert a vector may write past their results. The next call overwrites the
// excess, and the loops end before a call could write past the end of the output.
//
// A unit is a UTF-16 code unit. The diagrams show the highest bit on the left. The first byte or
// unit of the text is on the right, because it is loaded into the lowest bits. Only lines that
// begin with "bytes:" or "units:" show the text from left to right.

namespace i18nstr {
namespace {

static_assert(std::endian::native == std::endian::little,
              "characters are loaded as numbers whose lowest byte is the first in memory");

using sse2::kBytes;
using sse2::kUnits;

template <class Char>
std::size_t distance(const Char* from, const Char* to) noexcept {
    return static_cast<std::size_t>(to - from);
}

// Returns a mask of the bits that are 0 in every ASCII character.
__m128i bitsBeyondAscii() noexcept { return sse2::allUnits(0xFF80); }

// Returns the number of ASCII characters at the beginning of `text`, rounded down to a multiple of
// four vectors. Each of these characters becomes one unit or byte. This function is twice as fast
// as the loops that convertedLength() uses for other characters.
template <class Char>
std::size_t leadingAscii(std::basic_string_view<Char> text) noexcept {
    constexpr std::size_t kVector = kBytes / sizeof(Char);
    const __m128i beyondAscii = sizeof(Char) == 1 ? sse2::allBytes(0x80) : bitsBeyondAscii();
    std::size_t count = 0;
    for (; text.size() - count >= 4 * kVector; count += 4 * kVector) {
        const Char* const next = text.data() + count;
        const __m128i firstTwo = _mm_or_si128(sse2::load(next), sse2::load(next + kVector));
        const __m128i lastTwo =
            _mm_or_si128(sse2::load(next + 2 * kVector), sse2::load(next + 3 * kVector));
        if (!sse2::areBitsClear(beyondAscii, _mm_or_si128(firstTwo, lastTwo))) break;
    }
    return count;
}

// Adds the first 8 bytes of `counts` to the first sum in `sums`, and the last 8 bytes to the second
// sum.
__m128i addBytes(__m128i sums, __m128i counts) noexcept {
    return _mm_add_epi64(sums, _mm_sad_epu8(counts, _mm_setzero_si128()));
}

std::size_t total(__m128i sums) noexcept {
    return static_cast<std::size_t>(_mm_cvtsi128_si64(sums) +
                                    _mm_cvtsi128_si64(_mm_unpackhi_epi64(sums, sums)));
}

// From UTF-8 to UTF-16.

// A character in UTF-16. If it has two units, the first unit is in the lower half of `units`.
struct Wide {
    std::uint32_t units;
    unsigned length;     // in units; 0 for ill-formed text
    unsigned utf8Bytes;  // length in UTF-8, in bytes
};

constexpr Wide kIllFormed{0, 0, 0};

constexpr Wide oneUnit(std::uint32_t code, std::uint32_t minimum, unsigned utf8Bytes) noexcept {
    const bool isSurrogate = (code & 0xF800) == 0xD800;
    if (code < minimum || isSurrogate) return kIllFormed;
    return {code, 1, utf8Bytes};
}

constexpr Wide twoUnits(std::uint32_t code) noexcept {
    if (code < 0x10000 || code > 0x10FFFF) return kIllFormed;
    return {(0xD7C0 + (code >> 10)) | (0xDC00 | (code & 0x3FF)) << 16, 2, 4};
}

// Decodes the first character in four bytes of text. The low byte of `bytes` is the first byte:
//
//                               [0aaaaaaa] ->                [aaaaaaa]
//                      [10bbbbbb|110aaaaa] ->           [aaa|aabbbbbb]
//             [10cccccc|10bbbbbb|1110aaaa] ->      [aaaabbbb|bbcccccc]
//    [10dddddd|10cccccc|10bbbbbb|11110aaa] -> [aaabb|bbbbcccc|ccdddddd]
constexpr Wide decoded(std::uint32_t bytes) noexcept {
    const std::uint32_t second = bytes >> 8 & 0x3F;
    const std::uint32_t third = bytes >> 16 & 0x3F;
    const std::uint32_t fourth = bytes >> 24 & 0x3F;
    if ((bytes & 0x80) == 0) return {bytes & 0x7F, 1, 1};
    if ((bytes & 0xC0E0) == 0x80C0) return oneUnit((bytes & 0x1F) << 6 | second, 0x80, 2);
    if ((bytes & 0xC0C0F0) == 0x8080E0) {
        return oneUnit((bytes & 0x0F) << 12 | second << 6 | third, 0x800, 3);
    }
    if ((bytes & 0xC0C0C0F8) == 0x808080F0) {
        return twoUnits((bytes & 0x07) << 18 | second << 12 | third << 6 | fourth);
    }
    return kIllFormed;
}

// Loads four bytes of text. Each byte past the end of the text is replaced with 0, which cannot
// continue a character.
inline std::uint32_t nextFourBytes(const char* next, const char* end) noexcept {
    std::uint32_t bytes = 0;
    if (distance(next, end) >= sizeof bytes) [[likely]] {
        std::memcpy(&bytes, next, sizeof bytes);
        return bytes;
    }
    for (unsigned shift = 0; next != end; ++next, shift += 8) {
        bytes |= std::uint32_t{static_cast<unsigned char>(*next)} << shift;
    }
    return bytes;
}

inline bool widenCharacter(const char*& next, const char* end, wchar_t*& wide) noexcept {
    const Wide character = decoded(nextFourBytes(next, end));
    if (character.length == 0) return false;
    *wide++ = static_cast<wchar_t>(character.units);
    if (character.length == 2) *wide++ = static_cast<wchar_t>(character.units >> 16);
    next += character.utf8Bytes;
    return true;
}

// If widenUpToTwoBytes(), widenThreeBytes() or widenFourBytes() cannot convert the characters of a
// vector, the function returns false and does not change the pointers. Otherwise, it advances
// `next` by a constant and not by a computed length. The processor can therefore begin to convert
// the next vector before it has finished the current vector.

// Converts a vector of one-byte and two-byte characters. First, every byte becomes a unit with the
// same value. Then, from left to right, each two-byte character is replaced with its unit, and the
// following units move one unit to the left. The function may read up to 16 bytes and write up to
// 16 units past the characters that it converts.
//
//    lead [110aaaaa], trail [10bbbbbb] -> unit [00000aaa|aabbbbbb]
//
//    bytes:  n  C3 A9 e           units: n  C3 A9 e  ->  n  E9 e
bool widenUpToTwoBytes(const char*& next, wchar_t*& wide) noexcept {
    const __m128i bytes = sse2::load(next);
    const unsigned beyondAscii = sse2::highBits(bytes);
    if (beyondAscii == 0) {
        sse2::storeWidened(wide, bytes);
        next += kBytes;
        wide += kBytes;
        return true;
    }

    // As signed bytes, trail bytes have the lowest values, up to 0xBF. Lead bytes are in the range
    // 0xC2 to 0xDF.
    const __m128i trailMask = _mm_cmplt_epi8(bytes, sse2::allBytes(0xC0));
    const __m128i leadMask = _mm_and_si128(_mm_cmpgt_epi8(bytes, sse2::allBytes(0xC1)),
                                           _mm_cmplt_epi8(bytes, sse2::allBytes(0xE0)));
    const unsigned trails = sse2::highBits(trailMask);
    const unsigned leads = sse2::highBits(leadMask);
    if ((trails | leads) != beyondAscii || trails != (leads << 1 & sse2::kAllBytes)) return false;

    sse2::storeWidened(wide, bytes);
    constexpr unsigned kLast = 1u << (kBytes - 1);
    std::size_t moved = 0;
    for (unsigned remaining = leads & ~kLast; remaining != 0; remaining &= remaining - 1) {
        const auto index = static_cast<std::size_t>(std::countr_zero(remaining));
        const unsigned lead = static_cast<unsigned char>(next[index]);
        const unsigned trail = static_cast<unsigned char>(next[index + 1]);
        wide[index - moved] = static_cast<wchar_t>((lead & 0x1F) << 6 | (trail & 0x3F));
        sse2::storeWidened(wide + (index - moved + 1), sse2::load(next + index + 2));
        ++moved;
    }
    next += kBytes;
    wide += kBytes - moved;
    if ((leads & kLast) != 0) [[unlikely]] {  // the trail byte is in the next vector
        --next;
        --wide;
    }
    return true;
}

__m128i masked(__m128i lanes, std::uint32_t mask) noexcept {
    return _mm_and_si128(lanes, sse2::allPairs(mask));
}

__m128i equalMask(__m128i lanes, std::uint32_t value) noexcept {
    return _mm_cmpeq_epi32(lanes, sse2::allPairs(value));
}

bool isTrueForAll(__m128i mask) noexcept { return sse2::highBits(mask) == sse2::kAllBytes; }

// Converts four three-byte characters, which are in the first 12 bytes of a vector. Each character
// is copied to the lower three bytes of a 32-bit lane. The highest byte of the lane is not used:
//
//    bytes D2 D1 D0 C2 C1 C0 B2 B1 B0 A2 A1 A0 -> [D2 D1 D0|...|B0 A2 A1 A0]
//
//    lane [........|10cccccc|10bbbbbb|1110aaaa] -> unit [aaaabbbb|bbcccccc]
bool widenThreeBytes(const char*& next, wchar_t*& wide) noexcept {
    const __m128i bytes = sse2::load(next);
    const __m128i lanes =
        _mm_unpacklo_epi64(_mm_unpacklo_epi32(bytes, _mm_srli_si128(bytes, 3)),
                           _mm_unpacklo_epi32(_mm_srli_si128(bytes, 6), _mm_srli_si128(bytes, 9)));

    const __m128i a = masked(_mm_slli_epi32(lanes, 12), 0xF000);
    const __m128i b = masked(_mm_srli_epi32(lanes, 2), 0x0FC0);
    const __m128i c = masked(_mm_srli_epi32(lanes, 16), 0x003F);
    const __m128i units = _mm_or_si128(a, _mm_or_si128(b, c));

    const __m128i threeBytesMask = equalMask(masked(lanes, 0xC0C0F0), 0x8080E0);
    const __m128i upperBits = masked(units, 0xF800);
    const __m128i overlongMask = equalMask(upperBits, 0);
    const __m128i surrogateMask = equalMask(upperBits, 0xD800);
    const __m128i illFormedMask = _mm_or_si128(overlongMask, surrogateMask);
    if (!isTrueForAll(_mm_andnot_si128(illFormedMask, threeBytesMask))) return false;

    // Sign-extend the units, because _mm_packs_epi32 saturates each lane as a signed number.
    const __m128i signedUnits = _mm_srai_epi32(_mm_slli_epi32(units, 16), 16);
    sse2::storeHalf(wide, _mm_packs_epi32(signedUnits, signedUnits));
    next += 12;
    wide += 4;
    return true;
}

// Converts four four-byte characters, each of which is in one 32-bit lane. The first unit of a
// surrogate pair contains the upper eleven bits of the code point, minus 0x40. The second unit
// contains the lower ten bits:
//
//    lane [10dddddd|10cccccc|10bbbbbb|11110aaa] -> high [aaabbbbbbcc] - 0x40, low [ccccdddddd]
//    high [pp|ppbbbbcc] -> lower unit [110110pp|ppbbbbcc], low -> upper unit [110111cc|ccdddddd]
bool widenFourBytes(const char*& next, wchar_t*& wide) noexcept {
    const __m128i lanes = sse2::load(next);
    const __m128i a = masked(_mm_slli_epi32(lanes, 8), 0x0700);
    const __m128i b = masked(_mm_srli_epi32(lanes, 6), 0x00FC);
    const __m128i upperC = masked(_mm_srli_epi32(lanes, 20), 0x0003);
    const __m128i high =
        _mm_sub_epi32(_mm_or_si128(_mm_or_si128(a, b), upperC), sse2::allPairs(0x40));
    const __m128i lowerC = masked(_mm_slli_epi32(lanes, 6), 0x03C00000);
    const __m128i d = masked(_mm_srli_epi32(lanes, 8), 0x003F0000);
    const __m128i low = _mm_or_si128(lowerC, d);

    const __m128i fourBytesMask = equalMask(masked(lanes, 0xC0C0C0F8), 0x808080F0);
    const __m128i inRangeMask = equalMask(masked(high, ~0x3FFu), 0);  // U+10000 to U+10FFFF
    if (!isTrueForAll(_mm_and_si128(fourBytesMask, inRangeMask))) return false;

    sse2::store(wide, _mm_or_si128(sse2::allPairs(0xDC00D800), _mm_or_si128(high, low)));
    next += 16;
    wide += 8;
    return true;
}

bool widenOneKind(const char*& next, wchar_t*& wide) noexcept {
    const auto first = static_cast<unsigned char>(*next);
    if (first < 0xE0) return widenUpToTwoBytes(next, wide);
    return first < 0xF0 ? widenThreeBytes(next, wide) : widenFourBytes(next, wide);
}

// Converts a vector whose characters have different lengths. If the last character extends past the
// end of the vector, the whole character is converted. Consecutive ASCII characters are converted
// together, and the other characters are converted one by one. The function may write up to 16
// units past its result. It returns false if the text is ill-formed.
bool widenMixed(const char*& next, const char* end, wchar_t*& wide) noexcept {
    constexpr unsigned kEndOfVector = 1u << kBytes;
    // Each bit represents a byte, beginning with the byte at `next`. A bit is set if the byte is
    // not ASCII. The bit for the first byte after the vector is always set.
    unsigned stops = sse2::highBits(sse2::load(next)) | kEndOfVector;
    while (stops > 1) {
        if ((stops & 1) == 0) {
            sse2::storeWidened(wide, sse2::load(next));
            const int ascii = std::countr_zero(stops);
            next += ascii;
            wide += ascii;
            stops >>= ascii;
        } else {
            const char* const character = next;
            if (!widenCharacter(next, end, wide)) return false;
            stops >>= next - character;
        }
    }
    return true;
}

// From UTF-16 to UTF-8.

// A character in UTF-8. Its first byte is the lowest byte of `bytes`.
struct Narrow {
    std::uint32_t bytes;
    unsigned length;  // in bytes; 0 for an unpaired surrogate
    unsigned units;   // length in UTF-16, in units
};

// Encodes the character at the beginning of two units of text, as shown below. For a surrogate
// pair, aaabbbbbbcc is the sum of 0x40 and the lower ten bits of the first unit:
//
//                      [0aaaaaaa] ->                            [0aaaaaaa]
//             [00000aaa|aabbbbbb] ->                   [10bbbbbb|110aaaaa]
//             [aaaabbbb|bbcccccc] ->          [10cccccc|10bbbbbb|1110aaaa]
//    [aaabbbbbbcc], [ccccdddddd]  -> [10dddddd|10cccccc|10bbbbbb|11110aaa]
constexpr Narrow encoded(std::uint32_t units) noexcept {
    const std::uint32_t code = units & 0xFFFF;
    if (code < 0x80) return {code, 1, 1};
    if (code < 0x800) return {0x80C0 | code >> 6 | (code & 0x3F) << 8, 2, 1};
    if ((code & 0xF800) != 0xD800) {
        return {0x8080E0 | code >> 12 | (code & 0xFC0) << 2 | (code & 0x3F) << 16, 3, 1};
    }
    if ((units & 0xFC00FC00) != 0xDC00D800) return {0, 0, 0};
    const std::uint32_t high = (code & 0x3FF) + 0x40;
    const std::uint32_t low = units >> 16 & 0x3FF;
    return {0x808080F0 | high >> 8 | (high & 0xFC) << 6 | (high & 0x03) << 20 | low >> 6 << 16 |
                (low & 0x3F) << 24,
            4, 2};
}

bool narrowCharacter(const wchar_t*& next, const wchar_t* end, char*& utf8) noexcept {
    const std::uint32_t second = distance(next, end) > 1 ? next[1] : 0;
    const Narrow character = encoded(next[0] | second << 16);
    for (unsigned i = 0; i < character.length; ++i) {
        *utf8++ = static_cast<char>(character.bytes >> 8 * i);
    }
    next += character.units;
    return character.length > 0;
}

// storeAscii(), storeUpToTwoBytes(), storeThreeBytes() and storeFourBytes() convert the units of a
// vector to UTF-8, store the result, and return a pointer to the end of the result. They may also
// write up to 8 bytes past this pointer.

char* storeAscii(__m128i units, char* utf8) noexcept {
    sse2::storeHalf(utf8, _mm_packus_epi16(units, units));
    return utf8 + kUnits;
}

// Stores units below U+0800. First, every unit becomes one byte. Then, from left to right, the byte
// of each unit that is not ASCII is replaced with two bytes, and the following bytes move one byte
// to the right.
//
//    unit [00000aaa|aabbbbbb] -> bytes [10bbbbbb|110aaaaa]
//
//    units:  n  E9 e           bytes: n  ?? e  ->  n  C3 A9 e
char* storeUpToTwoBytes(__m128i units, unsigned asciiBits, char* utf8) noexcept {
    const __m128i a = _mm_or_si128(_mm_srli_epi16(units, 6), sse2::allUnits(0x80C0));
    const __m128i b = _mm_slli_epi16(_mm_and_si128(units, sse2::allUnits(0x3F)), 8);
    alignas(kBytes) std::uint16_t pairs[kUnits];
    sse2::store(pairs, _mm_or_si128(a, b));

    const auto bytes =
        static_cast<std::uint64_t>(_mm_cvtsi128_si64(_mm_packus_epi16(units, units)));
    std::memcpy(utf8, &bytes, sizeof bytes);
    constexpr unsigned kOneBitPerUnit = 0x5555;
    for (unsigned remaining = ~asciiBits & kOneBitPerUnit; remaining != 0;
         remaining &= remaining - 1) {
        const int index = std::countr_zero(remaining) / 2;
        const std::uint64_t rest = bytes >> 8 * index >> 8;  // 0 for the last unit
        std::memcpy(utf8 + index, &pairs[index], sizeof pairs[index]);
        std::memcpy(utf8 + index + 2, &rest, sizeof rest);
        ++utf8;
    }
    return utf8 + kUnits;
}

// Stores four units as three-byte characters. Each unit is in one 32-bit lane and is first replaced
// with its three bytes. Then, in each half of the vector, the second character is moved next to the
// first:
//
//    lane [00000000|00000000|aaaabbbb|bbcccccc] -> [00000000|10cccccc|10bbbbbb|1110aaaa]
//
//    half [00 B2 B1 B0 00 A2 A1 A0] -> [00 00 B2 B1 B0 A2 A1 A0]
void storeFourOfThreeBytes(__m128i units, char* utf8) noexcept {
    const __m128i a = _mm_srli_epi32(units, 12);
    const __m128i b = masked(_mm_slli_epi32(units, 2), 0x3F00);
    const __m128i c = masked(_mm_slli_epi32(units, 16), 0x3F0000);
    const __m128i characters =
        _mm_or_si128(_mm_or_si128(a, b), _mm_or_si128(c, sse2::allPairs(0x8080E0)));

    const __m128i firstMask = _mm_set1_epi64x(0xFFFFFF);
    const __m128i moved = _mm_or_si128(_mm_and_si128(firstMask, characters),
                                       _mm_srli_epi64(_mm_andnot_si128(firstMask, characters), 8));
    sse2::storeHalf(utf8, moved);
    sse2::storeHalf(utf8 + 6, _mm_unpackhi_epi64(moved, moved));
}

// Stores units that are U+0800 or above and are not surrogates, each as three bytes of UTF-8.
char* storeThreeBytes(__m128i units, char* utf8) noexcept {
    const __m128i zero = _mm_setzero_si128();
    storeFourOfThreeBytes(_mm_unpacklo_epi16(units, zero), utf8);
    storeFourOfThreeBytes(_mm_unpackhi_epi16(units, zero), utf8 + 12);
    return utf8 + 24;
}

// Stores four surrogate pairs as four-byte characters. Each pair is in one 32-bit lane. The letters
// a to d represent the same bits as in the comment on encoded():
//
//    lane [110111cc|ccdddddd|110110pp|ppbbbbcc], [pp|ppbbbbcc] + 0x40 -> [aaabbbbbbcc]
//    -> [10dddddd|10cccccc|10bbbbbb|11110aaa]
char* storeFourBytes(__m128i pairs, char* utf8) noexcept {
    const __m128i high = _mm_add_epi32(masked(pairs, 0x3FF), sse2::allPairs(0x40));
    const __m128i a = _mm_srli_epi32(high, 8);
    const __m128i b = masked(_mm_slli_epi32(high, 6), 0x3F00);
    const __m128i upperC = masked(_mm_slli_epi32(high, 20), 0x300000);
    const __m128i lowerC = masked(_mm_srli_epi32(pairs, 6), 0x0F0000);
    const __m128i d = masked(_mm_slli_epi32(pairs, 8), 0x3F000000);
    const __m128i ab = _mm_or_si128(_mm_or_si128(a, b), sse2::allPairs(0x808080F0));
    sse2::store(utf8, _mm_or_si128(ab, _mm_or_si128(_mm_or_si128(upperC, lowerC), d)));
    return utf8 + 16;
}

bool hasSurrogates(__m128i units) noexcept {
    const __m128i upperBits = _mm_and_si128(units, sse2::allUnits(0xF800));
    return sse2::highBits(_mm_cmpeq_epi16(upperBits, sse2::allUnits(0xD800))) != 0;
}

bool hasFourPairs(__m128i units) noexcept {
    return isTrueForAll(equalMask(masked(units, 0xFC00FC00), 0xDC00D800));
}

// Stores a vector whose units are all below U+0800, are all U+0800 or above but not surrogates, or
// are four surrogate pairs. Returns null for any other vector.
char* storeOneKind(__m128i units, char* utf8) noexcept {
    const unsigned asciiBits = sse2::highBits(sse2::unitsUpTo(0x7F, units));
    if (asciiBits == sse2::kAllBytes) return storeAscii(units, utf8);
    const unsigned upToTwoBytes = sse2::highBits(sse2::unitsUpTo(0x7FF, units));
    if (upToTwoBytes == sse2::kAllBytes) return storeUpToTwoBytes(units, asciiBits, utf8);
    if (upToTwoBytes != 0) return nullptr;
    if (!hasSurrogates(units)) return storeThreeBytes(units, utf8);
    return hasFourPairs(units) ? storeFourBytes(units, utf8) : nullptr;
}

// Converts a vector of units. If the vector ends within a surrogate pair, the whole pair is
// converted. If storeOneKind() returns null, the leading ASCII characters are converted together,
// and the other characters are converted one by one. The function returns false if a surrogate is
// unpaired.
bool narrowVector(const wchar_t*& next, char*& utf8) noexcept {
    const __m128i units = sse2::load(next);
    if (char* const stored = storeOneKind(units, utf8)) {
        next += kUnits;
        utf8 = stored;
        return true;
    }

    const wchar_t* const stop = next + kUnits;
    const unsigned asciiBits = sse2::highBits(sse2::unitsUpTo(0x7F, units));
    const int ascii = std::countr_one(asciiBits) / 2;  // two bits per unit
    storeAscii(units, utf8);
    next += ascii;
    utf8 += ascii;
    while (next < stop) {
        std::uint32_t two;
        std::memcpy(&two, next, sizeof two);
        const Narrow character = encoded(two);
        if (character.length == 0) return false;
        std::memcpy(utf8, &character.bytes, sizeof character.bytes);
        utf8 += character.length;
        next += character.units;
    }
    return true;
}

}  // namespace

std::size_t Utf8::convertedLength(std::string_view text) noexcept {
    std::size_t length = leadingAscii(text);
    const char* next = text.data() + length;
    const char* const end = text.data() + text.size();

    // The first byte of a character counts as one unit, or as two units if the character has four
    // bytes. As signed bytes, trail bytes (10xxxxxx) have the lowest values, up to 0xBF. Each byte
    // of a mask is 0 or -1, so the negated sum of the masks is the number of units.
    const __m128i zero = _mm_setzero_si128();
    __m128i sums = zero;
    for (; distance(next, end) >= kBytes; next += kBytes) {
        const __m128i bytes = sse2::load(next);
        const __m128i firstMask = _mm_cmpgt_epi8(bytes, sse2::allBytes(0xBF));
        const __m128i firstOfFour = sse2::allBytes(0xF0);
        const __m128i firstOfFourMask = _mm_cmpeq_epi8(_mm_max_epu8(bytes, firstOfFour), bytes);
        sums = addBytes(sums, _mm_sub_epi8(zero, _mm_add_epi8(firstMask, firstOfFourMask)));
    }
    length += total(sums);
    for (; next != end; ++next) {
        const auto byte = static_cast<unsigned char>(*next);
        length += ((byte & 0xC0) != 0x80) + (byte >= 0xF0);
    }
    return length;
}

bool Utf8::convert(std::string_view text, std::span<wchar_t> wide) noexcept {
    const char* next = text.data();
    const char* const end = next + text.size();
    wchar_t* nextWide = wide.data();
    wchar_t* const wideEnd = nextWide + wide.size();

    while (distance(next, end) >= kBytes && distance(nextWide, wideEnd) >= kBytes) {
        const __m128i bytes = sse2::load(next);
        if (sse2::highBits(bytes) != 0) break;
        sse2::storeWidened(nextWide, bytes);
        next += kBytes;
        nextWide += kBytes;
    }
    while (distance(next, end) >= 2 * kBytes && distance(nextWide, wideEnd) >= 2 * kBytes) {
        if (!widenOneKind(next, nextWide) && !widenMixed(next, end, nextWide)) return false;
    }
    while (next != end) {
        if (!widenCharacter(next, end, nextWide)) return false;
    }
    return true;
}

std::size_t Utf8::convertedLength(std::wstring_view text) noexcept {
    std::size_t length = leadingAscii(text);
    const wchar_t* next = text.data() + length;
    const wchar_t* const end = text.data() + text.size();

    // A unit below U+0080 becomes one byte. A unit from U+0080 to U+07FF becomes two bytes, and so
    // does each unit of a surrogate pair. Every other unit becomes three bytes. Each unit of a mask
    // is 0 or -1. Therefore, surrogateMask minus the other two masks is the number of bytes (0 to
    // 2) that the unit needs in addition to its first byte.
    const __m128i zero = _mm_setzero_si128();
    __m128i sums = zero;
    length += distance(next, end);
    for (; distance(next, end) >= kUnits; next += kUnits) {
        const __m128i units = sse2::load(next);
        const __m128i upperBits = _mm_srli_epi16(units, 11);
        const __m128i twoOrMoreMask = _mm_cmpgt_epi16(_mm_srli_epi16(units, 7), zero);
        const __m128i threeOrMoreMask = _mm_cmpgt_epi16(upperBits, zero);
        const __m128i surrogateMask = _mm_cmpeq_epi16(upperBits, sse2::allUnits(0xD800 >> 11));
        sums = addBytes(
            sums, _mm_sub_epi16(surrogateMask, _mm_add_epi16(twoOrMoreMask, threeOrMoreMask)));
    }
    length += total(sums);
    for (; next != end; ++next) {
        const unsigned unit = *next;
        length += (unit >= 0x80) + (unit >= 0x800) - ((unit & 0xF800) == 0xD800);
    }
    return length;
}

bool Utf8::convert(std::wstring_view text, std::span<char> utf8) noexcept {
    const wchar_t* next = text.data();
    const wchar_t* const end = next + text.size();
    char* nextUtf8 = utf8.data();

    // Each unit becomes at least one byte. If another vector of 8 units follows, the output
    // therefore has room for 8 bytes past a result.
    while (distance(next, end) >= 2 * kUnits) {
        const __m128i first = sse2::load(next);
        const __m128i second = sse2::load(next + kUnits);
        if (!sse2::areBitsClear(bitsBeyondAscii(), _mm_or_si128(first, second))) break;
        sse2::store(nextUtf8, _mm_packus_epi16(first, second));
        next += 2 * kUnits;
        nextUtf8 += 2 * kUnits;
    }
    while (distance(next, end) >= 2 * kUnits) {
        if (!narrowVector(next, nextUtf8)) return false;
    }
    if (distance(next, end) >= kUnits && sse2::areBitsClear(bitsBeyondAscii(), sse2::load(next))) {
        nextUtf8 = storeAscii(sse2::load(next), nextUtf8);
        next += kUnits;
    }
    while (next != end) {
        if (!narrowCharacter(next, end, nextUtf8)) return false;
    }
    return true;
}

}  // namespace i18nstr
