#include "i18nstr/AnsiText.h"

#include <windows.h>

#include <algorithm>
#include <numeric>

#include "i18nstr/Sse2.h"

namespace i18nstr {
namespace {

using sse2::kBytes;
using sse2::kUnits;

constexpr unsigned kAsciiCodes = 128;

constinit AnsiText s_ansiText{};

BOOL CALLBACK fillAnsiText(INIT_ONCE*, void*, void**) noexcept {
    s_ansiText.fill(kAnsi);
    return TRUE;
}

bool isAscii(std::string_view text) noexcept {
    return std::all_of(text.begin(), text.end(),
                       [](char code) { return static_cast<unsigned char>(code) < kAsciiCodes; });
}

}  // namespace

const AnsiText& AnsiText::ofProcess() noexcept {
    // s_ansiText is not a local static object, because the thread-safe initialization of such an
    // object would allocate memory.
    static INIT_ONCE s_once = INIT_ONCE_STATIC_INIT;
    ::InitOnceExecuteOnce(&s_once, fillAnsiText, nullptr, nullptr);
    return s_ansiText;
}

bool AnsiText::fill(const CodePage& codePage) noexcept {
    m_codePage = codePage;
    CPINFO properties;
    m_hasTables = ::GetCPInfo(codePage.number, &properties) && properties.MaxCharSize == 1 &&
                  fillTables() && findCombiningCharacters() && findIdentityStart();
    return m_hasTables;
}

bool AnsiText::fillTables() noexcept {
    std::array<char, kCodes> codes;
    std::iota(codes.begin(), codes.end(), '\0');
    std::array<wchar_t, kFirstCombining> units;
    std::iota(units.begin(), units.end(), L'\0');
    constexpr int kCodeCount = kCodes;
    constexpr int kUnitCount = kFirstCombining;
    return i18nstr::convert(m_codePage, codes.data(), kCodeCount, m_wide.data(), kCodeCount) ==
               kCodeCount &&
           i18nstr::convert(m_codePage, units.data(), kUnitCount, m_narrow.data(), kUnitCount) ==
               kUnitCount;
}

bool AnsiText::findCombiningCharacters() noexcept {
    std::array<WORD, kCodes> types;
    if (!::GetStringTypeW(CT_CTYPE3, m_wide.data(), kCodes, types.data())) return false;
    m_hasCombiningCharacters = false;
    for (unsigned code = 0; code < kCodes; ++code) {
        // Spacing accents below kFirstCombining also have the type C3_NONSPACING, but the system
        // never composes them.
        const bool canCompose = m_wide[code] >= wchar_t{kFirstCombining};
        if (canCompose && (types[code] & C3_NONSPACING) != 0) m_hasCombiningCharacters = true;
    }
    return true;
}

bool AnsiText::isIdentityMapped(unsigned code) const noexcept {
    return m_wide[code] == static_cast<wchar_t>(code) && m_narrow[code] == static_cast<char>(code);
}

bool AnsiText::findIdentityStart() noexcept {
    for (unsigned code = 0; code < kAsciiCodes; ++code) {
        if (!isIdentityMapped(code)) return false;
    }
    unsigned first = kCodes;
    while (first > kAsciiCodes && isIdentityMapped(first - 1)) --first;
    m_identityStart = static_cast<unsigned char>(first);  // kCodes becomes 0
    return true;
}

// Returns true if each of the 16 codes is an ASCII code or a code from m_identityStart to 255.
// These codes have the same values as their UTF-16 code units. As signed bytes, they form one
// range, from m_identityStart to 127. In code page 1252, for example, m_identityStart is 0xA0.
bool AnsiText::areIdentityMapped(__m128i codes) const noexcept {
    return sse2::highBits(_mm_cmplt_epi8(codes, sse2::allBytes(m_identityStart))) == 0;
}

std::size_t AnsiText::convertedLength(std::string_view text) const noexcept {
    return m_hasTables && (!m_hasCombiningCharacters || isAscii(text)) ? text.size() : 0;
}

std::size_t AnsiText::convertedLength(std::wstring_view text) const noexcept {
    if (!m_hasTables) return 0;
    // An early exit would prevent the compiler from vectorizing this loop.
    wchar_t maximum = 0;
    for (const wchar_t unit : text) maximum = std::max(maximum, unit);
    return maximum < wchar_t{kFirstCombining} ? text.size() : 0;
}

bool AnsiText::convert(std::string_view text, std::span<wchar_t> wide) const noexcept {
    const char* const codes = text.data();
    wchar_t* const units = wide.data();
    const auto convertEach = [&](std::size_t begin, std::size_t end) {
        for (std::size_t i = begin; i < end; ++i) {
            units[i] = m_wide[static_cast<unsigned char>(codes[i])];
        }
    };

    std::size_t done = 0;
    for (; text.size() - done >= kBytes; done += kBytes) {
        const __m128i next = sse2::load(codes + done);
        if (areIdentityMapped(next)) {
            sse2::storeWidened(units + done, next);
        } else {
            convertEach(done, done + kBytes);
        }
    }
    convertEach(done, text.size());
    return true;
}

bool AnsiText::convert(std::wstring_view text, std::span<char> narrow) const noexcept {
    const wchar_t* const units = text.data();
    char* const codes = narrow.data();
    const auto convertEach = [&](std::size_t begin, std::size_t end) {
        for (std::size_t i = begin; i < end; ++i) codes[i] = m_narrow[units[i]];
    };

    std::size_t done = 0;
    for (; text.size() - done >= 2 * kUnits; done += 2 * kUnits) {
        const __m128i first = sse2::load(units + done);
        const __m128i second = sse2::load(units + done + kUnits);
        const __m128i next = _mm_packus_epi16(first, second);
        const bool areCodes =
            sse2::areBitsClear(sse2::allUnits(0xFF00), _mm_or_si128(first, second));
        if (areCodes && areIdentityMapped(next)) {
            sse2::store(codes + done, next);
        } else {
            convertEach(done, done + 2 * kUnits);
        }
    }
    convertEach(done, text.size());
    return true;
}

}  // namespace i18nstr
