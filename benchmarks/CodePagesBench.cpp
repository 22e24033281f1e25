#include <windows.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "benchmarks/Harness.h"
#include "benchmarks/SampleText.h"
#include "i18nstr/i18nstr.h"

namespace {

struct Size {
    const char* name;
    std::size_t bytes;
};
constexpr Size kSizes[] = {{"16 bytes", 16}, {"64 KB", 64 * 1024}};

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

// A conversion as a client calls it: into a new string.
template <class From, class To>
bench::Batch conversion(bool (*convert)(const From*, int, std::basic_string<To>&),
                        std::basic_string<From> text) {
    return bench::repeated([convert, text = std::move(text)] {
        std::basic_string<To> output;
        convert(text.c_str(), static_cast<int>(text.size()), output);
        return output.size();
    });
}

// The system's converter, called once, into a buffer in which every result fits.

bench::Batch systemConversion(const CodePage& codePage, std::string text) {
    std::wstring buffer(text.size() + 1, L'\0');
    return bench::repeated(
        [codePage, text = std::move(text), buffer = std::move(buffer)]() mutable {
            return static_cast<std::size_t>(::MultiByteToWideChar(
                codePage.number, codePage.toWideFlags, text.c_str(),
                static_cast<int>(text.size()) + 1, buffer.data(), static_cast<int>(buffer.size())));
        });
}

bench::Batch systemConversion(const CodePage& codePage, std::wstring text) {
    std::string buffer((text.size() + 1) * 3, '\0');
    return bench::repeated(
        [codePage, text = std::move(text), buffer = std::move(buffer)]() mutable {
            return static_cast<std::size_t>(
                ::WideCharToMultiByte(codePage.number, codePage.toNarrowFlags, text.c_str(),
                                      static_cast<int>(text.size()) + 1, buffer.data(),
                                      static_cast<int>(buffer.size()), nullptr, nullptr));
        });
}

class Rows {
public:
    void add(const char* function, ToWide convert, const CodePage& reference, const char* kind,
             std::string_view pattern) {
        addSizes(std::string(function) + ", " + kind, convert, reference, "MultiByteToWideChar",
                 pattern);
    }

    void add(const char* function, ToNarrow convert, const CodePage& reference, const char* kind,
             std::wstring_view pattern, const char* referenceName = "WideCharToMultiByte") {
        addSizes(std::string(function) + ", " + kind, convert, reference, referenceName, pattern);
    }

    const std::vector<bench::Row>& all() const { return m_rows; }

private:
    template <class From, class To>
    void addSizes(const std::string& subject,
                  bool (*convert)(const From*, int, std::basic_string<To>&),
                  const CodePage& reference, const char* referenceName,
                  std::basic_string_view<From> pattern) {
        for (const Size& size : kSizes) {
            const auto text = bench::filled(pattern, size.bytes / sizeof(From));
            m_rows.push_back({subject, size.name, conversion(convert, text), referenceName,
                              systemConversion(reference, text),
                              conversion(convert, bench::filled(pattern, text.size() * 10))});
        }
    }

    std::vector<bench::Row> m_rows;
};

}  // namespace

int main(int argc, char** argv) {
    Rows rows;
    for (const bench::TextKind& kind : {bench::kAscii, bench::kLatin, bench::kCjk, bench::kEmoji}) {
        rows.add("wide2UTF8", i18nstr::wide2UTF8, kUtf8, kind.name, kind.wide);
    }
    for (const bench::TextKind& kind : {bench::kAscii, bench::kLatin, bench::kCjk, bench::kEmoji}) {
        rows.add("UTF82wide", i18nstr::UTF82wide, kUtf8, kind.name, kind.utf8);
    }
    for (const bench::TextKind& kind : {bench::kAscii, bench::kLatin}) {
        rows.add("wide2mb", i18nstr::wide2mb, kAnsi, kind.name, kind.wide);
        // What the flags cost: they make the system look for accents to compose.
        rows.add("wide2mb", i18nstr::wide2mb, kAnsiWithoutFlags, kind.name, kind.wide,
                 "WideCharToMultiByte without flags");
    }
    rows.add("mb2wide", i18nstr::mb2wide, kAnsi, "ASCII", bench::kAscii.utf8);
    rows.add("mb2wide", i18nstr::mb2wide, kAnsi, "Latin", bench::kLatinIn1252);
    return bench::run(argc, argv, rows.all());
}
