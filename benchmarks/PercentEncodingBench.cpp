#include <windows.h>

#include <shlwapi.h>

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "benchmarks/Harness.h"
#include "benchmarks/SampleText.h"
#include "i18nstr/i18nstr.h"

namespace {

// URL_UNESCAPE_AS_UTF8 has the same value; the headers name it from Windows 8 on only.
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

void add(std::vector<bench::Row>& rows, const bench::TextKind& kind, std::size_t length) {
    const std::wstring text = bench::filled<wchar_t>(kind.wide, length);
    const std::wstring tenfoldText = bench::filled<wchar_t>(kind.wide, length * 10);
    std::wstring escaped;
    i18nstr::escape(text, escaped);
    std::wstring tenfoldEscaped;
    i18nstr::escape(tenfoldText, tenfoldEscaped);

    const std::string size = std::to_string(length) + " chars";
    const std::string name = kind.name;
    rows.push_back({"escape, " + name, size, work(i18nstr::escape, text), "UrlEscapeW",
                    systemEscape(text), work(i18nstr::escape, tenfoldText)});
    rows.push_back({"unescape, " + name, size, work(i18nstr::unescape, escaped), "UrlUnescapeW",
                    systemUnescape(escaped), work(i18nstr::unescape, tenfoldEscaped)});
}

}  // namespace

int main(int argc, char** argv) {
    // Ten times the size has to stay below the longest text that escape() gives.
    std::vector<bench::Row> rows;
    add(rows, bench::kAscii, 120);
    add(rows, bench::kLatin, 100);
    add(rows, bench::kCjk, 22);
    return bench::run(argc, argv, rows);
}
