#include "i18nstr/Utf8.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

#include "i18nstr/Sse2.h"

namespace i18nstr::utf8 {
namespace {

static_assert(std::endian::native == std::endian::little,
              "characters are put together as numbers whose lowest part stands first in memory");

using sse2::kBytes;
using sse2::kUnits;

template <class Char>
std::size_t distance(const Char* from, const Char* to) noexcept {
    return static_cast<std::size_t>(to - from);
}

// The bits that no unit of ASCII has.
__m128i unitsBeyondAscii() noexcept { return sse2::allUnits(0xFF80); }

// How many characters of ASCII stand first, counted in steps of four vectors: a look that costs
// little where it finds none, and saves counting for most texts.
template <class Char>
std::size_t asciiAtFront(std::basic_string_view<Char> text) noexcept {
    constexpr std::size_t kVector = kBytes / sizeof(Char);
    const __m128i beyondAscii = sizeof(Char) == 1 ? sse2::allBytes(0x80) : unitsBeyondAscii();
    std::size_t count = 0;
    for (; text.size() - count >= 4 * kVector; count += 4 * kVector) {
        const Char* const next = text.data() + count;
        const __m128i some = _mm_or_si128(sse2::load(next), sse2::load(next + kVector));
        const __m128i others =
            _mm_or_si128(sse2::load(next + 2 * kVector), sse2::load(next + 3 * kVector));
        if (!sse2::hasNone(beyondAscii, _mm_or_si128(some, others))) break;
    }
    return count;
}

// A character of UTF-16: one unit, or two with the first in the lower half.
struct Wide {
    std::uint32_t units;
    unsigned length;     // in units; 0 for ill-formed text
    unsigned utf8Bytes;  // that it was made of
};

constexpr Wide kIllFormed{0, 0, 0};

constexpr Wide oneUnit(std::uint32_t code, std::uint32_t least, unsigned utf8Bytes) noexcept {
    const bool isSurrogate = (code & 0xF800) == 0xD800;
    if (code < least || isSurrogate) return kIllFormed;
    return {code, 1, utf8Bytes};
}

constexpr Wide twoUnits(std::uint32_t code) noexcept {
    if (code < 0x10000 || code > 0x10FFFF) return kIllFormed;
    return {(0xD7C0 + (code >> 10)) | (0xDC00 | (code & 0x3FF)) << 16, 2, 4};
}

// The character that the next four bytes of a text begin with.
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

// With zeros behind the end, which no character goes on with.
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

// Steps that widen characters of one kind, up to a vector of bytes, and come to false, with nothing
// but rubbish stored, where others follow or ill-formed text. They advance by constants, behind
// branches: the next step can begin before this one is known to succeed.

// Characters of one or two bytes: all bytes as if they were ASCII; then each character of two, with
// what stands behind it moved by a unit. Reads and writes up to a vector further.
bool widenUpToTwoBytes(const char*& next, wchar_t*& wide) noexcept {
    const __m128i bytes = sse2::load(next);
    const unsigned beyondAscii = sse2::highBits(bytes);
    if (beyondAscii == 0) {
        sse2::storeWidened(wide, bytes);
        next += kBytes;
        wide += kBytes;
        return true;
    }

    // Of signed bytes: trails are from 0x80 to 0xBF, leads of two bytes from 0xC2 to 0xDF.
    const __m128i areTrails = _mm_cmplt_epi8(bytes, sse2::allBytes(0xC0));
    const __m128i areLeads = _mm_and_si128(_mm_cmpgt_epi8(bytes, sse2::allBytes(0xC1)),
                                           _mm_cmplt_epi8(bytes, sse2::allBytes(0xE0)));
    const unsigned trails = sse2::highBits(areTrails);
    const unsigned leads = sse2::highBits(areLeads);
    if ((trails | leads) != beyondAscii || trails != (leads << 1 & sse2::kAllBytes)) return false;

    sse2::storeWidened(wide, bytes);
    constexpr unsigned kLast = 1u << (kBytes - 1);
    std::size_t moved = 0;
    for (unsigned others = leads & ~kLast; others != 0; others &= others - 1) {
        const auto place = static_cast<std::size_t>(std::countr_zero(others));
        const unsigned lead = static_cast<unsigned char>(next[place]);
        const unsigned trail = static_cast<unsigned char>(next[place + 1]);
        wide[place - moved] = static_cast<wchar_t>((lead & 0x1F) << 6 | (trail & 0x3F));
        sse2::storeWidened(wide + (place - moved + 1), sse2::load(next + place + 2));
        ++moved;
    }
    next += kBytes;
    wide += kBytes - moved;
    if ((leads & kLast) != 0) [[unlikely]] {  // its trail is beyond the vector
        --next;
        --wide;
    }
    return true;
}

__m128i masked(__m128i lanes, std::uint32_t mask) noexcept {
    return _mm_and_si128(lanes, sse2::allPairs(mask));
}

__m128i areEqual(__m128i lanes, std::uint32_t value) noexcept {
    return _mm_cmpeq_epi32(lanes, sse2::allPairs(value));
}

bool areAll(__m128i conditions) noexcept { return sse2::highBits(conditions) == sse2::kAllBytes; }

// Four characters, each in a lane of 32 bits from its first byte on. Stores nothing further.
bool widenThreeBytes(const char*& next, wchar_t*& wide) noexcept {
    const __m128i bytes = sse2::load(next);
    const __m128i lanes =
        _mm_unpacklo_epi64(_mm_unpacklo_epi32(bytes, _mm_srli_si128(bytes, 3)),
                           _mm_unpacklo_epi32(_mm_srli_si128(bytes, 6), _mm_srli_si128(bytes, 9)));

    const __m128i first = masked(_mm_slli_epi32(lanes, 12), 0xF000);
    const __m128i second = masked(_mm_srli_epi32(lanes, 2), 0x0FC0);
    const __m128i third = masked(_mm_srli_epi32(lanes, 16), 0x003F);
    const __m128i units = _mm_or_si128(first, _mm_or_si128(second, third));

    const __m128i areOfThreeBytes = areEqual(masked(lanes, 0xC0C0F0), 0x8080E0);
    const __m128i upperBits = masked(units, 0xF800);
    const __m128i areTooLong = areEqual(upperBits, 0);
    const __m128i areSurrogates = areEqual(upperBits, 0xD800);
    const __m128i areIllFormed = _mm_or_si128(areTooLong, areSurrogates);
    if (!areAll(_mm_andnot_si128(areIllFormed, areOfThreeBytes))) return false;

    // Signed, as the units are packed.
    const __m128i signedUnits = _mm_srai_epi32(_mm_slli_epi32(units, 16), 16);
    sse2::storeHalf(wide, _mm_packs_epi32(signedUnits, signedUnits));
    next += 12;
    wide += 4;
    return true;
}

// Four characters, each in a lane of 32 bits. Stores nothing further.
bool widenFourBytes(const char*& next, wchar_t*& wide) noexcept {
    const __m128i lanes = sse2::load(next);
    const __m128i first = masked(_mm_slli_epi32(lanes, 8), 0x0700);
    const __m128i second = masked(_mm_srli_epi32(lanes, 6), 0x00FC);
    const __m128i thirdsUpperBits = masked(_mm_srli_epi32(lanes, 20), 0x0003);
    const __m128i thirdsLowerBits = masked(_mm_slli_epi32(lanes, 6), 0x03C00000);
    const __m128i fourth = masked(_mm_srli_epi32(lanes, 8), 0x003F0000);
    // The bits of a character above ten, less the 0x40 that pairs of surrogates leave out.
    const __m128i high = _mm_sub_epi32(_mm_or_si128(_mm_or_si128(first, second), thirdsUpperBits),
                                       sse2::allPairs(0x40));
    const __m128i low = _mm_or_si128(thirdsLowerBits, fourth);

    const __m128i areOfFourBytes = areEqual(masked(lanes, 0xC0C0C0F8), 0x808080F0);
    const __m128i arePairs = areEqual(masked(high, ~0x3FFu), 0);
    if (!areAll(_mm_and_si128(areOfFourBytes, arePairs))) return false;

    const __m128i marks = sse2::allPairs(0xDC00D800);
    sse2::store(wide, _mm_or_si128(marks, _mm_or_si128(high, low)));
    next += 16;
    wide += 8;
    return true;
}

bool widenOneKind(const char*& next, wchar_t*& wide) noexcept {
    const auto first = static_cast<unsigned char>(*next);
    if (first < 0xE0) return widenUpToTwoBytes(next, wide);
    return first < 0xF0 ? widenThreeBytes(next, wide) : widenFourBytes(next, wide);
}

// A vector of characters of several kinds: runs of ASCII, and one by one what is not. Where the
// last one goes beyond it, the rest of that. Reads and writes up to a vector further.
bool widenMixed(const char*& next, const char* end, wchar_t*& wide) noexcept {
    constexpr unsigned kEndOfVector = 1u << kBytes;
    // A bit for each byte from `next` on: those beyond ASCII, and the end.
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

// A character of UTF-8, its first byte the lowest.
struct Narrow {
    std::uint32_t bytes;
    unsigned length;  // in bytes; 0 for a surrogate that stands alone
    unsigned units;   // that it was made of
};

// The character that the next two units of a text begin with.
constexpr Narrow encoded(std::uint32_t units) noexcept {
    const std::uint32_t code = units & 0xFFFF;
    if (code < 0x80) return {code, 1, 1};
    if (code < 0x800) return {0x80C0 | code >> 6 | (code & 0x3F) << 8, 2, 1};
    if ((code & 0xF800) != 0xD800) {
        return {0x8080E0 | code >> 12 | (code & 0xFC0) << 2 | (code & 0x3F) << 16, 3, 1};
    }
    if ((units & 0xFC00FC00) != 0xDC00D800) return {0, 0, 0};
    const std::uint32_t high = (code & 0x3FF) + 0x40;  // the bits of the character above ten
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

// Vectors of units of one kind. What is stored may go up to a vector's units further than the
// characters, which are behind what is returned.

char* storeAscii(__m128i units, char* utf8) noexcept {
    sse2::storeHalf(utf8, _mm_packus_epi16(units, units));
    return utf8 + kUnits;
}

// Units below U+0800: all as if they were ASCII; then each other one, with what stands behind it
// moved by a byte.
char* storeUpToTwoBytes(__m128i units, unsigned asciiBits, char* utf8) noexcept {
    const __m128i leads = _mm_or_si128(_mm_srli_epi16(units, 6), sse2::allUnits(0x80C0));
    const __m128i trails = _mm_slli_epi16(_mm_and_si128(units, sse2::allUnits(0x3F)), 8);
    alignas(kBytes) std::uint16_t pairs[kUnits];
    sse2::store(pairs, _mm_or_si128(leads, trails));

    const auto bytes =
        static_cast<std::uint64_t>(_mm_cvtsi128_si64(_mm_packus_epi16(units, units)));
    std::memcpy(utf8, &bytes, sizeof bytes);
    constexpr unsigned kOneBitPerUnit = 0x5555;
    for (unsigned others = ~asciiBits & kOneBitPerUnit; others != 0; others &= others - 1) {
        const int place = std::countr_zero(others) / 2;
        const std::uint64_t behind = bytes >> 8 * place >> 8;  // at place 7 nothing
        std::memcpy(utf8 + place, &pairs[place], sizeof pairs[place]);
        std::memcpy(utf8 + place + 2, &behind, sizeof behind);
        ++utf8;
    }
    return utf8 + kUnits;
}

// Four units in 32 bits each.
void storeFourOfThreeBytes(__m128i units, char* utf8) noexcept {
    const __m128i first = _mm_srli_epi32(units, 12);
    const __m128i second = _mm_and_si128(_mm_slli_epi32(units, 2), sse2::allPairs(0x3F00));
    const __m128i third = _mm_and_si128(_mm_slli_epi32(units, 16), sse2::allPairs(0x3F0000));
    const __m128i characters =
        _mm_or_si128(_mm_or_si128(first, second), _mm_or_si128(third, sse2::allPairs(0x8080E0)));
    // The second character of each half moves up to the first.
    const __m128i firsts = _mm_set1_epi64x(0xFFFFFF);
    const __m128i moved = _mm_or_si128(_mm_and_si128(firsts, characters),
                                       _mm_srli_epi64(_mm_andnot_si128(firsts, characters), 8));
    sse2::storeHalf(utf8, moved);
    sse2::storeHalf(utf8 + 6, _mm_unpackhi_epi64(moved, moved));
}

// Units from U+0800 up without surrogates.
char* storeThreeBytes(__m128i units, char* utf8) noexcept {
    const __m128i zero = _mm_setzero_si128();
    storeFourOfThreeBytes(_mm_unpacklo_epi16(units, zero), utf8);
    storeFourOfThreeBytes(_mm_unpackhi_epi16(units, zero), utf8 + 12);
    return utf8 + 24;
}

// Four pairs of surrogates.
char* storeFourBytes(__m128i pairs, char* utf8) noexcept {
    const __m128i high =
        _mm_add_epi32(_mm_and_si128(pairs, sse2::allPairs(0x3FF)), sse2::allPairs(0x40));
    const __m128i first = _mm_srli_epi32(high, 8);
    const __m128i second = _mm_and_si128(_mm_slli_epi32(high, 6), sse2::allPairs(0x3F00));
    const __m128i third =
        _mm_or_si128(_mm_and_si128(_mm_slli_epi32(high, 20), sse2::allPairs(0x300000)),
                     _mm_and_si128(_mm_srli_epi32(pairs, 6), sse2::allPairs(0x0F0000)));
    const __m128i fourth = _mm_and_si128(_mm_slli_epi32(pairs, 8), sse2::allPairs(0x3F000000));
    const __m128i marks = sse2::allPairs(0x808080F0);
    sse2::store(utf8, _mm_or_si128(_mm_or_si128(_mm_or_si128(first, second), marks),
                                   _mm_or_si128(third, fourth)));
    return utf8 + 16;
}

__m128i areSurrogates(__m128i units) noexcept {
    return _mm_cmpeq_epi16(_mm_and_si128(units, sse2::allUnits(0xF800)), sse2::allUnits(0xD800));
}

bool areFourPairs(__m128i units) noexcept {
    const __m128i marks = _mm_and_si128(units, sse2::allUnits(0xFC00));
    return sse2::highBits(_mm_cmpeq_epi32(marks, sse2::allPairs(0xDC00D800))) == sse2::kAllBytes;
}

// Null, with rubbish stored at most, when the units are of several kinds.
char* storeOfOneKind(__m128i units, char* utf8) noexcept {
    const unsigned asciiBits = sse2::highBits(sse2::unitsUpTo(0x7F, units));
    if (asciiBits == sse2::kAllBytes) return storeAscii(units, utf8);
    const unsigned upToTwoBytes = sse2::highBits(sse2::unitsUpTo(0x7FF, units));
    if (upToTwoBytes == sse2::kAllBytes) return storeUpToTwoBytes(units, asciiBits, utf8);
    if (upToTwoBytes != 0) return nullptr;
    if (sse2::highBits(areSurrogates(units)) == 0) return storeThreeBytes(units, utf8);
    return areFourPairs(units) ? storeFourBytes(units, utf8) : nullptr;
}

// The same for units of several kinds: runs of ASCII, and one by one what is not.
bool narrowMixedVector(const wchar_t*& next, char*& utf8) noexcept {
    constexpr unsigned kEndOfVector = 1u << kBytes;
    // Two bits for each unit from `next` on: those beyond ASCII, and the end.
    const unsigned asciiBits = sse2::highBits(sse2::unitsUpTo(0x7F, sse2::load(next)));
    unsigned stops = (asciiBits ^ sse2::kAllBytes) | kEndOfVector;
    while (stops > 1) {
        unsigned passed = 0;
        if ((stops & 1) == 0) {
            storeAscii(sse2::load(next), utf8);
            passed = static_cast<unsigned>(std::countr_zero(stops)) / 2;
            utf8 += passed;
        } else {
            std::uint32_t two;
            std::memcpy(&two, next, sizeof two);
            const Narrow character = encoded(two);
            if (character.length == 0) return false;
            std::memcpy(utf8, &character.bytes, sizeof character.bytes);
            utf8 += character.length;
            passed = character.units;
        }
        next += passed;
        stops >>= 2 * passed;
    }
    return true;
}

// A vector of units and, where it ends within a pair, the rest of that.
bool narrowVector(const wchar_t*& next, char*& utf8) noexcept {
    if (char* const stored = storeOfOneKind(sse2::load(next), utf8)) {
        next += kUnits;
        utf8 = stored;
        return true;
    }
    return narrowMixedVector(next, utf8);
}

std::size_t sumOfBytes(__m128i counts) noexcept {
    const __m128i sums = _mm_sad_epu8(counts, _mm_setzero_si128());
    return static_cast<std::size_t>(_mm_cvtsi128_si64(sums) +
                                    _mm_cvtsi128_si64(_mm_unpackhi_epi64(sums, sums)));
}

std::size_t sumOfUnits(__m128i counts) noexcept {
    const __m128i sums = _mm_madd_epi16(counts, sse2::allUnits(1));
    const __m128i bothHalves = _mm_add_epi32(sums, _mm_unpackhi_epi64(sums, sums));
    const auto two = static_cast<std::uint64_t>(_mm_cvtsi128_si64(bothHalves));
    return static_cast<std::uint32_t>(two) + (two >> 32);
}

}  // namespace

std::size_t wideLength(std::string_view utf8) noexcept {
    std::size_t length = asciiAtFront(utf8);
    const char* next = utf8.data() + length;
    const char* const end = utf8.data() + utf8.size();

    // Each character gives a unit for its first byte, and one more when it has four.
    const __m128i lastTrail = sse2::allBytes(0xBF);  // of signed bytes, the greatest that is none
    const __m128i firstOfFour = sse2::allBytes(0xF0);
    while (distance(next, end) >= kBytes) {
        constexpr std::size_t kMostSteps = 127;  // a byte counts up to two in each
        __m128i counts = _mm_setzero_si128();
        const char* const stop = next + std::min(distance(next, end) / kBytes, kMostSteps) * kBytes;
        for (; next != stop; next += kBytes) {
            const __m128i bytes = sse2::load(next);
            const __m128i isFirst = _mm_cmpgt_epi8(bytes, lastTrail);
            const __m128i isFirstOfFour = _mm_cmpeq_epi8(_mm_max_epu8(bytes, firstOfFour), bytes);
            counts = _mm_sub_epi8(_mm_sub_epi8(counts, isFirst), isFirstOfFour);
        }
        length += sumOfBytes(counts);
    }
    for (; next != end; ++next) {
        const auto byte = static_cast<unsigned char>(*next);
        length += ((byte & 0xC0) != 0x80) + (byte >= 0xF0);
    }
    return length;
}

bool toWide(std::string_view utf8, std::span<wchar_t> wide) noexcept {
    const char* next = utf8.data();
    const char* const end = next + utf8.size();
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

std::size_t narrowLength(std::wstring_view wide) noexcept {
    std::size_t length = asciiAtFront(wide);
    const wchar_t* next = wide.data() + length;
    const wchar_t* const end = wide.data() + wide.size();

    // A unit gives a byte, another from U+0080 up and another from U+0800 up, or, as one of a pair
    // of surrogates, two.
    const __m128i zero = _mm_setzero_si128();
    while (distance(next, end) >= kUnits) {
        constexpr std::size_t kMostSteps = 0x2000;  // a unit counts up to two more in each
        __m128i counts = zero;
        const std::size_t steps = std::min(distance(next, end) / kUnits, kMostSteps);
        const wchar_t* const stop = next + steps * kUnits;
        for (; next != stop; next += kUnits) {
            const __m128i units = sse2::load(next);
            const __m128i upperBits = _mm_srli_epi16(units, 11);
            const __m128i twoOrMore = _mm_cmpgt_epi16(_mm_srli_epi16(units, 7), zero);
            const __m128i threeOrMore = _mm_cmpgt_epi16(upperBits, zero);
            const __m128i surrogates = _mm_cmpeq_epi16(upperBits, sse2::allUnits(0xD800 >> 11));
            counts = _mm_sub_epi16(_mm_sub_epi16(counts, twoOrMore), threeOrMore);
            counts = _mm_add_epi16(counts, surrogates);
        }
        length += steps * kUnits + sumOfUnits(counts);
    }
    for (; next != end; ++next) {
        const unsigned unit = *next;
        length += 1 + (unit >= 0x80) + (unit >= 0x800) - ((unit & 0xF800) == 0xD800);
    }
    return length;
}

bool toNarrow(std::wstring_view wide, std::span<char> utf8) noexcept {
    const wchar_t* next = wide.data();
    const wchar_t* const end = next + wide.size();
    char* nextUtf8 = utf8.data();

    // Each unit takes a byte at least: where a vector of units follows there is room for what is
    // stored too far.
    while (distance(next, end) >= 2 * kUnits) {
        const __m128i first = sse2::load(next);
        const __m128i second = sse2::load(next + kUnits);
        if (!sse2::hasNone(unitsBeyondAscii(), _mm_or_si128(first, second))) break;
        sse2::store(nextUtf8, _mm_packus_epi16(first, second));
        next += 2 * kUnits;
        nextUtf8 += 2 * kUnits;
    }
    while (distance(next, end) >= 2 * kUnits) {
        if (!narrowVector(next, nextUtf8)) return false;
    }
    if (distance(next, end) >= kUnits && sse2::hasNone(unitsBeyondAscii(), sse2::load(next))) {
        nextUtf8 = storeAscii(sse2::load(next), nextUtf8);
        next += kUnits;
    }
    while (next != end) {
        if (!narrowCharacter(next, end, nextUtf8)) return false;
    }
    return true;
}

}  // namespace i18nstr::utf8
