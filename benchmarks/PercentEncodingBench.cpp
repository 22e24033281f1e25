#include <windows.h>

#include <shlwapi.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "benchmarks/Harness.h"
#include "benchmarks/SampleText.h"
#include "i18nstr/i18nstr.h"

namespace {

// URL_UNESCAPE_AS_UTF8, which has the same value as URL_ESCAPE_AS_UTF8, is defined only for Windows
// 8 and later.
constexpr DWORD kUnescapeAsUtf8 = URL_ESCAPE_AS_UTF8;

constexpr std::size_t kBufferSize = 2084;

using Function = bool (*)(const std::wstring&, std::wstring&);

bench::Batch work(Function function, std::wstring text) {
    return bench::repeated([function, text = std::move(text)] {
        std::wstring output;
        function(text, output);
        return output.size();
    });
}

bench::Batch systemEscape(std::wstring text) {
    return bench::repeated([text = std::move(text)] {
        wchar_t buffer[kBufferSize];
        DWORD size = kBufferSize;
        const HRESULT hr =
            ::UrlEscapeW(text.c_str(), buffer, &size,
                         URL_ESCAPE_SEGMENT_ONLY | URL_ESCAPE_PERCENT | URL_ESCAPE_AS_UTF8);
        return hr == S_OK ? std::size_t{size} : 0;
    });
}

bench::Batch systemUnescape(std::wstring text) {
    return bench::repeated([text = std::move(text)]() mutable {
        wchar_t buffer[kBufferSize];
        DWORD size = kBufferSize;
        const HRESULT hr = ::UrlUnescapeW(text.data(), buffer, &size, kUnescapeAsUtf8);
        return hr == S_OK ? std::size_t{size} : 0;
    });
}

// Adds two rows: one for encoding a string that repeats `pattern`, and one for decoding the result.
// If `tenfoldLength` is 0, the "growth" column stays empty.
void add(std::vector<bench::Row>& rows, const char* kind, std::wstring_view pattern,
         std::size_t length, std::size_t tenfoldLength, bench::Target escapeTarget) {
    const std::wstring text = bench::filled(pattern, length);
    std::wstring escaped;
    i18nstr::escape(text, escaped);
    bench::Row escapeRow{std::string("escape, ") + kind, std::to_string(length) + " chars",
                         work(i18nstr::escape, text), "UrlEscapeW", systemEscape(text)};
    bench::Row unescapeRow{std::string("unescape, ") + kind, escapeRow.size,
                           work(i18nstr::unescape, escaped), "UrlUnescapeW",
                           systemUnescape(escaped)};
    if (tenfoldLength > 0) {
        const std::wstring tenfoldText = bench::filled(pattern, tenfoldLength);
        std::wstring tenfoldEscaped;
        i18nstr::escape(tenfoldText, tenfoldEscaped);
        escapeRow.tenfold = work(i18nstr::escape, tenfoldText);
        unescapeRow.tenfold = work(i18nstr::unescape, tenfoldEscaped);
    }
    escapeRow.target = escapeTarget;
    rows.push_back(std::move(escapeRow));
    rows.push_back(std::move(unescapeRow));
}

void add(std::vector<bench::Row>& rows, const bench::TextKind& kind, std::size_t length) {
    add(rows, kind.name, kind.wide, length, length * 10, {});
}

// Adds rows for strings whose encoded form has nearly the maximum length.
void addLong(std::vector<bench::Row>& rows, const char* kind, std::wstring_view pattern,
             std::size_t length, double ratio) {
    add(rows, kind, pattern, length, 0, {ratio});
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<bench::Row> rows;
    add(rows, bench::kAscii, 120);
    add(rows, bench::kLatin, 100);
    add(rows, bench::kCjk, 22);
    addLong(rows, "few escapes", L"chart-name.in-the_list.of-all.charts ", 1900, 0.12);
    addLong(rows, "every second", L"a ", 1000, 0.10);
    addLong(rows, "ideographs", bench::kCjk.wide, 222, 0.20);
    return bench::run(argc, argv, rows);
}
