#include <windows.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "benchmarks/Harness.h"
#include "benchmarks/SampleText.h"
#include "i18nstr/i18nstr.h"

namespace {

struct Size {
    const char* name;
    std::size_t bytes;
};
constexpr std::size_t kShort = 16;
constexpr Size kSizes[] = {{"16 bytes", kShort}, {"64 KB", 64 * 1024}};

struct CodePage {
    UINT number;
    DWORD toWideFlags;
    DWORD toNarrowFlags;
};
constexpr CodePage kUtf8{CP_UTF8, 0, 0};
constexpr CodePage kAnsi{CP_ACP, MB_PRECOMPOSED, WC_COMPOSITECHECK | WC_SEPCHARS};
constexpr CodePage kAnsiWithoutFlags{CP_ACP, 0, 0};

using ToWide = bool (*)(const char*, int, std::wstring&);
using ToNarrow = bool (*)(const wchar_t*, int, std::string&);

// Measures a conversion into a new string. Most clients pass a new string.
template <class From, class To>
bench::Batch conversion(bool (*convert)(const From*, int, std::basic_string<To>&),
                        std::basic_string<From> text) {
    return bench::repeated([convert, text = std::move(text)] {
        std::basic_string<To> output;
        convert(text.c_str(), static_cast<int>(text.size()), output);
        return output.size();
    });
}

// Measures a conversion into a string that already has enough capacity, so that no memory is
// allocated.
template <class From, class To>
bench::Batch conversionAgain(bool (*convert)(const From*, int, std::basic_string<To>&),
                             std::basic_string<From> text) {
    return bench::repeated(
        [convert, text = std::move(text), output = std::basic_string<To>()]() mutable {
            convert(text.c_str(), static_cast<int>(text.size()), output);
            return output.size();
        });
}

int convertBySystem(const CodePage& codePage, const std::string& text, wchar_t* buffer, int size) {
    return ::MultiByteToWideChar(codePage.number, codePage.toWideFlags, text.c_str(),
                                 static_cast<int>(text.size()) + 1, buffer, size);
}

int convertBySystem(const CodePage& codePage, const std::wstring& text, char* buffer, int size) {
    return ::WideCharToMultiByte(codePage.number, codePage.toNarrowFlags, text.c_str(),
                                 static_cast<int>(text.size()) + 1, buffer, size, nullptr, nullptr);
}

// Measures one call to the system's conversion function, with a buffer that is large enough for any
// result.
template <class To, class From>
bench::Batch systemConversion(const CodePage& codePage, std::basic_string<From> text) {
    std::basic_string<To> buffer((text.size() + 1) * 3, To());
    return bench::repeated(
        [codePage, text = std::move(text), buffer = std::move(buffer)]() mutable {
            return static_cast<std::size_t>(
                convertBySystem(codePage, text, buffer.data(), static_cast<int>(buffer.size())));
        });
}

// Measures conversion without the library: the client calls the system's conversion function twice,
// first to get the size and then to convert the text. The output string already has enough
// capacity.
template <class To, class From>
bench::Batch systemConversionInTwoCalls(const CodePage& codePage, std::basic_string<From> text) {
    return bench::repeated(
        [codePage, text = std::move(text), output = std::basic_string<To>()]() mutable {
            const int size = convertBySystem(codePage, text, static_cast<To*>(nullptr), 0);
            output.resize(static_cast<std::size_t>(size));
            return static_cast<std::size_t>(convertBySystem(codePage, text, output.data(), size));
        });
}

class Rows {
public:
    /// Adds rows for conversions into a new string. The reference is one call to the system's
    /// conversion function.
    template <class From, class To>
    void add(const std::string& function, const char* kind,
             bool (*convert)(const From*, int, std::basic_string<To>&), const CodePage& reference,
             std::type_identity_t<std::basic_string_view<From>> pattern,
             const std::string& how = "") {
        for (const Size& size : kSizes) {
            const auto text = bench::filled(pattern, size.bytes / sizeof(From));
            m_rows.push_back({function + ", " + kind, size.name, conversion(convert, text),
                              systemConverter<From>() + how, systemConversion<To>(reference, text),
                              conversion(convert, bench::filled(pattern, text.size() * 10))});
        }
    }

    /// Adds rows for conversions into a string that is reused. The reference is
    /// systemConversionInTwoCalls().
    template <class From, class To>
    void addReused(const std::string& function, const char* kind,
                   bool (*convert)(const From*, int, std::basic_string<To>&),
                   const CodePage& reference,
                   std::type_identity_t<std::basic_string_view<From>> pattern,
                   bench::Target targetOfLongText) {
        for (const Size& size : kSizes) {
            const auto text = bench::filled(pattern, size.bytes / sizeof(From));
            m_rows.push_back({function + ", " + kind + ", reused", size.name,
                              conversionAgain(convert, text), systemConverter<From>() + " twice",
                              systemConversionInTwoCalls<To>(reference, text), nullptr,
                              size.bytes > kShort ? targetOfLongText : bench::timesAsFast(1)});
        }
    }

    const std::vector<bench::Row>& all() const { return m_rows; }

private:
    template <class From>
    static std::string systemConverter() {
        return std::is_same_v<From, char> ? "MultiByteToWideChar" : "WideCharToMultiByte";
    }

    std::vector<bench::Row> m_rows;
};

}  // namespace

int main(int argc, char** argv) {
    const ToNarrow wide2mb = i18nstr::wide2mb;
    const ToWide mb2wide = i18nstr::mb2wide;
    const ToWide UTF82wide = i18nstr::UTF82wide;

    struct Utf8Targets {
        bench::TextKind kind;
        bench::Target toNarrow;
        bench::Target toWide;
    };
    using bench::timesAsFast;
    const Utf8Targets kUtf8Targets[] = {{bench::kAscii, timesAsFast(10), timesAsFast(10)},
                                        {bench::kLatin, timesAsFast(3), timesAsFast(2.5)},
                                        {bench::kFewAccents, timesAsFast(2), timesAsFast(2)},
                                        {bench::kCjk, timesAsFast(3), timesAsFast(3.5)},
                                        {bench::kEmoji, timesAsFast(1.5), timesAsFast(3)},
                                        {bench::kMixed, timesAsFast(1), timesAsFast(1)}};
    Rows rows;
    for (const auto& [kind, toNarrow, toWide] : kUtf8Targets) {
        rows.add("wide2UTF8", kind.name, i18nstr::wide2UTF8, kUtf8, kind.wide);
        rows.addReused("wide2UTF8", kind.name, i18nstr::wide2UTF8, kUtf8, kind.wide, toNarrow);
        rows.add("UTF82wide", kind.name, UTF82wide, kUtf8, kind.utf8);
        rows.addReused("UTF82wide", kind.name, UTF82wide, kUtf8, kind.utf8, toWide);
    }
    const auto addWide2mb = [&](const char* kind, std::wstring_view text) {
        rows.add("wide2mb", kind, wide2mb, kAnsi, text);
        // With the flags of kAnsi, the system searches for combining characters. The reference of
        // this row omits the flags, to show the cost of the search.
        rows.add("wide2mb", kind, wide2mb, kAnsiWithoutFlags, text, " without flags");
        rows.addReused("wide2mb", kind, wide2mb, kAnsi, text, timesAsFast(80));
    };
    for (const auto& [kind, ansi] : {std::pair(bench::kAscii, std::string_view(bench::kAscii.utf8)),
                                     std::pair(bench::kLatin, bench::kLatinIn1252)}) {
        addWide2mb(kind.name, kind.wide);
        rows.add("mb2wide", kind.name, mb2wide, kAnsi, ansi);
        rows.addReused("mb2wide", kind.name, mb2wide, kAnsi, ansi, timesAsFast(1.6));
    }
    addWide2mb("Polish", bench::kPolish);
    return bench::run(argc, argv, rows.all());
}
