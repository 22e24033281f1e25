#include "i18nstr/SingleByteTables.h"

#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <numeric>

#include "i18nstr/Sse2.h"

namespace i18nstr {
namespace {

using sse2::kBytes;
using sse2::kUnits;

constexpr unsigned kAsciiCodes = 128;

bool hasSingleBytes(UINT codePage) noexcept {
    CPINFO properties;
    return ::GetCPInfo(codePage, &properties) && properties.MaxCharSize == 1;
}

}  // namespace

bool SingleByteTables::fill(const CodePage& codePage) noexcept {
    return hasSingleBytes(codePage.number) && ask(codePage) && findMarks() && findFirstSame();
}

bool SingleByteTables::ask(const CodePage& codePage) noexcept {
    std::array<char, kCodes> codes;
    std::iota(codes.begin(), codes.end(), '\0');
    std::array<wchar_t, kPlainUnits> units;
    std::iota(units.begin(), units.end(), L'\0');
    constexpr int kCodeCount = kCodes;
    constexpr int kUnitCount = kPlainUnits;
    return convert(codePage, codes.data(), kCodeCount, m_wide.data(), kCodeCount) == kCodeCount &&
           convert(codePage, units.data(), kUnitCount, m_narrow.data(), kUnitCount) == kUnitCount;
}

bool SingleByteTables::findMarks() noexcept {
    std::array<WORD, kCodes> types;
    if (!::GetStringTypeW(CT_CTYPE3, m_wide.data(), kCodes, types.data())) return false;
    m_hasMarks = false;
    for (unsigned code = 0; code < kCodes; ++code) {
        // Below are accents that take a space of their own, of which the type does not tell.
        const bool canCompose = m_wide[code] >= kPlainUnits;
        if (canCompose && (types[code] & C3_NONSPACING) != 0) m_hasMarks = true;
    }
    return true;
}

bool SingleByteTables::isSame(unsigned code) const noexcept {
    return m_wide[code] == static_cast<wchar_t>(code) && m_narrow[code] == static_cast<char>(code);
}

bool SingleByteTables::findFirstSame() noexcept {
    for (unsigned code = 0; code < kAsciiCodes; ++code) {
        if (!isSame(code)) return false;
    }
    unsigned first = kCodes;
    while (first > kAsciiCodes && isSame(first - 1)) --first;
    m_firstSame = static_cast<unsigned char>(first);  // 256 becomes 0, the comparison's end
    return true;
}

// Whether 16 codes are the same in Unicode: those of ASCII are, and in code page 1252, for one,
// those from 0xA0 up.
bool SingleByteTables::areSame(__m128i codes) const noexcept {
    return sse2::highBits(_mm_cmplt_epi8(codes, sse2::allBytes(m_firstSame))) == 0;
}

bool SingleByteTables::isAscii(std::string_view text) noexcept {
    return std::all_of(text.begin(), text.end(),
                       [](char code) { return static_cast<unsigned char>(code) < kAsciiCodes; });
}

bool SingleByteTables::isPlain(std::wstring_view text) const noexcept {
    const wchar_t* next = text.data();
    const wchar_t* const end = next + text.size();
    for (; end - next >= static_cast<std::ptrdiff_t>(kUnits); next += kUnits) {
        const __m128i plain = sse2::unitsUpTo(kPlainUnits - 1, sse2::load(next));
        if (sse2::highBits(plain) != sse2::kAllBytes) return false;
    }
    return std::all_of(next, end, [](wchar_t unit) { return unit < kPlainUnits; });
}

void SingleByteTables::toWide(const char* codes, std::size_t count, wchar_t* units) const noexcept {
    const auto widenEach = [&](std::size_t begin, std::size_t end) {
        for (std::size_t i = begin; i < end; ++i) {
            units[i] = m_wide[static_cast<unsigned char>(codes[i])];
        }
    };

    std::size_t done = 0;
    for (; count - done >= kBytes; done += kBytes) {
        const __m128i next = sse2::load(codes + done);
        if (areSame(next)) {
            sse2::storeWidened(units + done, next);
        } else {
            widenEach(done, done + kBytes);
        }
    }
    widenEach(done, count);
}

void SingleByteTables::toNarrow(const wchar_t* units, std::size_t count,
                                char* codes) const noexcept {
    const auto narrowEach = [&](std::size_t begin, std::size_t end) {
        for (std::size_t i = begin; i < end; ++i) codes[i] = m_narrow[units[i]];
    };

    std::size_t done = 0;
    for (; count - done >= 2 * kUnits; done += 2 * kUnits) {
        const __m128i first = sse2::load(units + done);
        const __m128i second = sse2::load(units + done + kUnits);
        const __m128i next = _mm_packus_epi16(first, second);
        const bool areCodes = sse2::hasNone(sse2::allUnits(0xFF00), _mm_or_si128(first, second));
        if (areCodes && areSame(next)) {
            sse2::store(codes + done, next);
        } else {
            narrowEach(done, done + 2 * kUnits);
        }
    }
    narrowEach(done, count);
}

}  // namespace i18nstr
