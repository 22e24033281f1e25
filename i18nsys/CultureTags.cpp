#include <windows.h>

#include <mlang.h>

#include <algorithm>
#include <cwchar>
#include <iterator>
#include <string_view>

#include "dll/atl.h"
#include "i18nsys/i18nsys.h"
#include "platform/BoundedCopy.h"
#include "platform/Bstr.h"
#include "platform/ComApartment.h"
#include "platform/ModuleHandle.h"
#include "platform/Wine.h"

namespace i18nsys {
namespace {

// The CLSID and the IID of the multi-language service. Some SDKs do not define these identifiers in
// their uuid libraries.
constexpr CLSID kMultiLanguageClass = {
    0x275C23E2, 0x3747, 0x11D0, {0x9F, 0xEA, 0x00, 0xAA, 0x00, 0x3F, 0x86, 0x46}};
constexpr IID kIMultiLanguage = {
    0x275C23E1, 0x3747, 0x11D0, {0x9F, 0xEA, 0x00, 0xAA, 0x00, 0x3F, 0x86, 0x46}};

/// Creates the multi-language service for one conversion, and releases it at the end of the scope.
class MultiLanguageService {
public:
    MultiLanguageService() noexcept
        : m_result(::CoCreateInstance(kMultiLanguageClass, nullptr, CLSCTX_ALL, kIMultiLanguage,
                                      reinterpret_cast<void**>(&m_service))) {
        if (SUCCEEDED(m_result)) m_module = platform::moduleImplementing(*m_service);
    }

    /// Returns the result of CoCreateInstance.
    HRESULT result() const noexcept { return m_result; }
    IMultiLanguage& operator*() const noexcept { return *m_service; }
    IMultiLanguage* operator->() const noexcept { return m_service; }

private:
    // Compatibility: COM is uninitialized before the service is released. A caller that has
    // registered its own implementation of the service can observe this order. The members are
    // destroyed in reverse order: m_apartment, m_service, m_module. CoUninitialize may unload the
    // library of the service, but the release of the service still runs code in this library.
    // Therefore m_module keeps the library loaded until the service has been released.
    platform::ModuleHandle m_module;
    ATL::CComPtr<IMultiLanguage> m_service;
    platform::ComApartment m_apartment;
    HRESULT m_result;
};

struct FullTag {
    LCID lcid;
    std::wstring_view tag;
};

/// The full tags of the locales for which the service may return a tag without a region.
constexpr FullTag kFullTags[] = {
    {0x0411, L"ja-JP"}, {0x040C, L"fr-FR"}, {0x0409, L"en-US"}, {0x0404, L"zh-TW"},
    {0x0407, L"de-DE"}, {0x0410, L"it-IT"}, {0x0415, L"pl-PL"}, {0x0416, L"pt-BR"},
    {0x040E, L"hu-HU"}, {0x0405, L"cs-CZ"}, {0x041B, L"sk-SK"}, {0x041D, L"sv-SE"},
    {0x0414, L"nb-NO"}, {0x0406, L"da-DK"}, {0x040B, L"fi-FI"}, {0x0419, L"ru-RU"},
    {0x041F, L"tr-TR"}, {0x0408, L"el-GR"}, {0x0412, L"ko-KR"},
};

/// Converts a caller's buffer size to an unsigned number. A size below 1 becomes 0.
std::size_t toUnsignedSize(int sizeInCharacters) noexcept {
    return static_cast<std::size_t>(std::max(sizeInCharacters, 0));
}

}  // namespace

long getLcidFromRfc1766(const wchar_t* tag, unsigned long& lcid) {
    if (!tag) return E_POINTER;
    const MultiLanguageService service;
    if (FAILED(service.result())) return service.result();

    return platform::wine::getLcidFromRfc1766(*service, platform::Bstr(tag), lcid);
}

long getRfc1766FromLcid(const unsigned long& lcid, wchar_t* buffer, int size) {
    if (!buffer) return E_POINTER;
    const MultiLanguageService service;
    if (FAILED(service.result())) return service.result();

    platform::Bstr shortTag;
    HRESULT hr = service->GetRfc1766FromLcid(lcid, shortTag.receive());
    if (FAILED(hr)) return hr;

    const std::size_t bufferSize = toUnsignedSize(size);
    const std::wstring_view tag = shortTag.get() ? std::wstring_view(shortTag.get()) : L"";
    const bool fits = platform::copyWhole(buffer, bufferSize, tag);
    if (!fits) hr = E_FAIL;

    // Compatibility: a full tag from kFullTags replaces not only a tag of fewer than three
    // characters, but also a tag that does not fit into the buffer. If the service's tag does not
    // fit, the result is E_FAIL, even if the full tag fits. If the service's tag fits but the full
    // tag does not, the result is S_OK.
    if (!fits || tag.size() < 3) {
        const auto full = std::find_if(std::begin(kFullTags), std::end(kFullTags),
                                       [lcid](const FullTag& row) { return row.lcid == lcid; });
        if (full != std::end(kFullTags)) platform::copyWhole(buffer, bufferSize, full->tag);
    } else {
        ::CharUpperBuffW(buffer + 3, static_cast<DWORD>(tag.size() - 3));
    }
    return hr;
}

bool isRfc1766StringValid(const wchar_t* tag) {
    unsigned long lcid = 0;
    return SUCCEEDED(getLcidFromRfc1766(tag, lcid));
}

bool isRfc1766NeutralLanguage(const wchar_t* tag) {
    return isRfc1766StringValid(tag) && std::wcslen(tag) == 2;
}

long normalizeCulture(wchar_t* tag) {
    const wchar_t* const lastHyphen = std::wcsrchr(tag, L'-');
    if (!lastHyphen) return S_FALSE;
    ::CharUpperBuffW(tag, static_cast<DWORD>(std::wcslen(tag)));
    ::CharLowerBuffW(tag, static_cast<DWORD>(lastHyphen - tag));
    return S_OK;
}

bool mapRfc1766ToLocalWritingSystem(const wchar_t* tag, wchar_t* buffer, int size) {
    if (!tag || size < 1) return false;
    std::wstring_view name = tag;
    if (name == L"ja-JP")
        name = L"JaHani";
    else if (name == L"zh-Hans")
        name = L"ZhHans";
    else if (name == L"zh-Hant")
        name = L"ZhHant";
    else if (name == L"ko-KR")
        name = L"Ko";
    // Compatibility: the result is true even if the name does not fit. In this case, the buffer
    // receives the empty string.
    platform::copyWhole(buffer, toUnsignedSize(size), name);
    return true;
}

}  // namespace i18nsys
