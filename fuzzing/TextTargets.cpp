// Fuzzer targets that test functions for plain text: percent-encoding, conversions, culture tags,
// paths and printf patterns.
#include <algorithm>
#include <cwchar>
#include <string>

#include "fuzzing/Fuzzer.h"
#include "i18nres/Manager.h"
#include "i18nres/PrintfPattern.h"
#include "i18nstr/i18nstr.h"
#include "i18nsys/i18nsys.h"
#include "platform/PathParts.h"

namespace fuzz {

namespace {

bool isSurrogate(wchar_t unit) { return unit >= 0xD800 && unit <= 0xDFFF; }

void percentEncoding(const Input& input) {
    const std::wstring text(input.text());
    std::wstring escaped, unescaped;
    if (i18nstr::escape(text, escaped)) {
        require(escaped.size() <= 2083);
        const bool isPlain = std::none_of(text.begin(), text.end(), [](wchar_t unit) {
            return unit == L'%' || unit == L'\0' || isSurrogate(unit);
        });
        // unescape() must return the original string.
        require(!isPlain || (i18nstr::unescape(escaped, unescaped) && unescaped == text));
    } else {
        require(escaped.empty());
    }
    i18nstr::unescape(text, unescaped);
    require(unescaped.size() <= 2084);
}

// Converts a string and its terminator with the system's function, and removes the terminator from
// the result.
std::wstring systemsWide(UINT codePage, DWORD flags, const char* text, int count) {
    std::wstring wide(
        static_cast<std::size_t>(::MultiByteToWideChar(codePage, flags, text, count, nullptr, 0)),
        L'?');
    ::MultiByteToWideChar(codePage, flags, text, count, wide.data(), static_cast<int>(wide.size()));
    if (!wide.empty()) wide.pop_back();
    return wide;
}

std::string systemsNarrow(UINT codePage, DWORD flags, const wchar_t* text, int count) {
    std::string narrow(static_cast<std::size_t>(::WideCharToMultiByte(
                           codePage, flags, text, count, nullptr, 0, nullptr, nullptr)),
                       '?');
    ::WideCharToMultiByte(codePage, flags, text, count, narrow.data(),
                          static_cast<int>(narrow.size()), nullptr, nullptr);
    if (!narrow.empty()) narrow.pop_back();
    return narrow;
}

void conversions(const Input& input) {
    const std::string_view bytes = input.terminatedBytes();
    const auto length = static_cast<int>(bytes.size());
    std::wstring wide;
    std::string narrow;
    for (const int count : {-1, length}) {
        const bool isEmpty = count == 0 || bytes.data()[0] == '\0';
        const int withEnd = count < 0 ? -1 : count + 1;
        i18nstr::mb2wide(bytes.data(), count, wide);
        require(wide == (isEmpty ? L"" : systemsWide(CP_ACP, 1, bytes.data(), withEnd)));
        i18nstr::UTF82wide(bytes.data(), count, wide);
        require(wide == (isEmpty ? L"" : systemsWide(CP_UTF8, 0, bytes.data(), withEnd)));
        i18nstr::mb2ascii7(bytes.data(), count, narrow);
    }
    const std::string_view counted = input.bytes();
    require(i18nstr::latin2wide(counted.data(), length, wide));
    require(i18nstr::wide2latin(wide.c_str(), length, narrow) && narrow == counted);
    const bool isAscii = i18nstr::isAscii7(counted.data(), length);
    require(i18nstr::ascii72wide(counted.data(), length, wide) == isAscii);

    const wchar_t* const text = input.terminatedText();
    char buffer[64];
    for (const int count : {-1, length}) {
        const bool isEmpty = count == 0 || text[0] == L'\0';
        const int withEnd = count < 0 ? -1 : count + 1;
        i18nstr::wide2mb(text, count, narrow);
        require(narrow == (isEmpty ? "" : systemsNarrow(CP_ACP, 0x220, text, withEnd)));
        i18nstr::wide2UTF8(text, count, narrow);
        require(narrow == (isEmpty ? "" : systemsNarrow(CP_UTF8, 0, text, withEnd)));
    }
    const bool fits = i18nstr::wide2mb(text, -1, buffer, sizeof buffer);
    require(std::find(std::begin(buffer), std::end(buffer), '\0') != std::end(buffer) || !fits);
    i18nstr::compare(text, length, text, length / 2);
}

void cultureTags(const Input& input) {
    wchar_t* const tag = input.terminatedText();
    const std::size_t length = std::wcslen(tag);
    wchar_t buffer[12];
    if (i18nsys::mapRfc1766ToLocalWritingSystem(tag, buffer, 12)) require(std::wcslen(buffer) < 12);
    if (input.hash() % 64 == 0 && length < 64) {  // slow, because COM objects are created
        unsigned long lcid = 0;
        const bool valid = i18nsys::getLcidFromRfc1766(tag, lcid) >= 0;
        require(i18nsys::isRfc1766StringValid(tag) == valid);
    }
    i18nsys::normalizeCulture(tag);
    require(std::wcslen(tag) == length);
}

void paths(const Input& input) {
    const std::wstring_view path = input.text();
    const platform::PathParts parts = platform::splitPath(path);
    const auto whole = std::wstring(parts.drive).append(parts.directory).append(parts.name);
    require(whole + std::wstring(parts.extension) == path);
    require(parts.fileName().size() == parts.name.size() + parts.extension.size());
    if (input.hash() % 16 != 0) return;  // slow, because it accesses the file system

    if (!i18nres::Manager::Instance()) i18nres::Manager::Init();
    std::wstring result = L"?", culture;
    if (!i18nres::Manager::Instance()->getLocaleFileName(std::wstring(path), result, &culture))
        require(result == L"?");
    std::vector<std::wstring> available = {L"en-US"};
    const auto found =
        i18nres::Manager::Instance()->selectLocaleFileName(std::wstring(path), available, nullptr);
    require((found != available.end()) == parts.fitIntoMaxPath() || path.find(L'\0') != path.npos);
}

void printfPatterns(const Input& input) { i18nres::isPrintfPattern(input.text()); }

}  // namespace

const Target kTextTargets[] = {
    {"percent", percentEncoding, 3000, "% %20 %c3 %C3%A9 %00 %f0%9f%98%80 + & = / ?"},
    {"conversions", conversions, 300, "\xc3\xa9 \xe2\x82\xac \xf0\x9f\x98\x80 \xed\xa0\x80 \xc0"},
    {"tags", cultureTags, 100, "- en US zh Hant TW ja-JP sr-Latn-RS qps-ploc x-"},
    {"paths", paths, 600, "C: \\ / . _ .. \\\\?\\ guide .chm"},
    {"printf", printfPatterns, 200, "% %d %ls %hs %*.*f %n %I64d %llx # 0 ."},
    {nullptr, nullptr, 0, nullptr}};

}  // namespace fuzz
