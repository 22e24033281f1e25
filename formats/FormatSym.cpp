#include "formats/FormatSym.h"

#include <windows.h>

#include <algorithm>
#include <cwchar>
#include <memory>
#include <string_view>
#include <utility>

#include "clipboard/CDataObject.h"
#include "clipboard/ReadText.h"
#include "formats/RegisteredFormat.h"
#include "i18nstr/i18nstr.h"

namespace OrvexClipboard {

namespace {

constinit RegisteredFormat s_format(L"DALVO_RECORD_FORMAT");

HRESULT readNarrow(const IDataObject& obj, unsigned long cf, std::wstring& text) {
    std::unique_ptr<char[]> narrow;
    const HRESULT hr = readText(obj, cf, narrow);
    if (SUCCEEDED(hr)) i18nstr::mb2wide(narrow.get(), -1, text);
    return hr;
}

HRESULT readWide(const IDataObject& obj, unsigned long cf, std::wstring& text) {
    std::unique_ptr<wchar_t[]> wide;
    const HRESULT hr = readText(obj, cf, wide);
    if (SUCCEEDED(hr)) text = wide.get();
    return hr;
}

// Returns true if the value of the DALVOEXTKEY environment variable is TRUE or does not fit into
// the buffer. In this case, the type character is not converted to uppercase.
bool keepsTypeCase() {
    constexpr DWORD kSize = 16;
    wchar_t value[kSize];
    // If the value does not fit, GetEnvironmentVariableW returns the required size. If the variable
    // is not defined, the function returns 0.
    const DWORD length = ::GetEnvironmentVariableW(L"DALVOEXTKEY", value, kSize);
    return length >= kSize || (length > 0 && _wcsicmp(value, L"TRUE") == 0);
}

// Returns true if the code is "n" followed by digits. Such a code is not converted to uppercase.
bool isNumberCode(std::wstring_view code) {
    return code.size() > 1 && code.front() == L'n' &&
           std::all_of(code.begin() + 1, code.end(),
                       [](wchar_t c) { return c >= L'0' && c <= L'9'; });
}

}  // namespace

const wchar_t* FormatSym::GetClipboardName() { return s_format.name(); }

unsigned int FormatSym::GetClipboardID() { return s_format.id(); }

HRESULT FormatSym::AcceptData(IDataObject& obj, bool onlyOwnFormat) {
    HRESULT hr = CDataObject::AcceptTextData(obj, GetClipboardID());
    if (hr == S_OK || onlyOwnFormat) return hr;
    hr = CDataObject::AcceptTextData(obj, CF_UNICODETEXT);
    // Compatibility: if the query for CF_UNICODETEXT fails, the function repeats this query instead
    // of querying CF_TEXT. Callers rely on both consequences: the result is S_OK even if only the
    // second query succeeds, and an error code if the object offers only CF_TEXT.
    return FAILED(hr) ? CDataObject::AcceptTextData(obj, CF_UNICODETEXT) : hr;
}

HRESULT FormatSym::ExportData(IDataObject& obj, bool onlyOwnFormat, const std::wstring& type,
                              const std::wstring& code) {
    HRESULT hr = E_FAIL;
    if (!type.empty()) {
        std::string record;
        if (!i18nstr::wide2mb((type + code).c_str(), -1, record)) return E_FAIL;
        hr = CDataObject::SetTextData(obj, GetClipboardID(), record.c_str(), -1);
        if (FAILED(hr)) return hr;
    }
    if (onlyOwnFormat) return hr;
    return CDataObject::SetCFUnicodeTextData(obj, code.c_str(), -1);
}

HRESULT FormatSym::ImportData(IDataObject& obj, bool onlyOwnFormat, std::wstring& type,
                              std::wstring& code) {
    std::wstring text;
    HRESULT hr = readNarrow(obj, GetClipboardID(), text);
    const bool fromOwnFormat = SUCCEEDED(hr);
    if (!fromOwnFormat && !onlyOwnFormat) {
        hr = readWide(obj, CF_UNICODETEXT, text);
        if (FAILED(hr)) hr = readNarrow(obj, CF_TEXT, text);
    }
    if (text.empty()) return E_FAIL;

    text.erase(std::find_if(text.begin(), text.end(), [](wchar_t c) { return c < L' '; }),
               text.end());
    SymCaseConversion(text, fromOwnFormat);
    if (fromOwnFormat) {
        std::wstring first(text, 0, 1);
        text.erase(0, 1);
        type = std::move(first);
    }
    code = std::move(text);
    return hr;
}

void FormatSym::SymCaseConversion(std::wstring& text, bool hasTypeCharacter) {
    if (text.empty()) return;
    wchar_t* const code = hasTypeCharacter ? ::CharNextW(text.data()) : text.data();
    if (hasTypeCharacter && !keepsTypeCase()) ::CharUpperBuffW(text.data(), 1);

    if (*code == L'\0' || isNumberCode(code)) return;
    // Do not change a code that contains an uppercase letter, because the user chose its case.
    if (std::any_of(code, code + std::wcslen(code), [](wchar_t c) { return ::IsCharUpperW(c); }))
        return;
    ::CharUpperW(code);
}

}  // namespace OrvexClipboard
