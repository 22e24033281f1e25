#include <windows.h>

#include <algorithm>
#include <cstring>
#include <cwchar>
#include <memory>
#include <string>
#include <string_view>

#include "i18nres/Manager.h"
#include "i18nres/SatelliteStrings.h"
#include "i18nres/Satellites.h"
#include "i18nres/StringDecorations.h"
#include "i18nres/StringSwitches.h"
#include "i18nstr/i18nstr.h"
#include "platform/Bstr.h"
#include "platform/ComError.h"
#include "platform/CriticalSectionLock.h"

namespace i18nres {

namespace {

/// Maximum size of a string with its marks, in characters, including the terminator.
constexpr std::size_t kMaxMarkedSize = 2048;

/// A view of a string in the memory of its library. The view is empty if the string is missing.
struct FoundString {
    std::wstring_view text;
    /// True if findForCulture() found the string in the satellite of the default culture.
    bool isFallback = false;
};

std::wstring_view findIn(const std::unique_ptr<const SatelliteStrings>& satellite,
                         unsigned id) noexcept {
    return satellite ? satellite->find(id) : std::wstring_view();
}

FoundString findForCulture(ModuleRecord* record, unsigned id) noexcept {
    if (!record) return {};
    std::wstring_view text = findIn(record->cultureStrings, id);
    if (!text.empty()) return {text};
    text = findIn(record->defaultStrings, id);
    if (!text.empty()) return {text, true};
    return {findString(baseModule(*record), id)};
}

FoundString findForDefault(ModuleRecord* record, unsigned id) noexcept {
    if (!record) return {};
    const std::wstring_view text = findString(baseModule(*record), id);
    return {text.empty() ? findIn(record->defaultStrings, id) : text};
}

/// Represents a string with its origin and its marks, if they are enabled. The parts are combined
/// only when they are written to the output. The length is 0 if the string is missing or if its
/// origin is too long.
class DecoratedString {
public:
    DecoratedString(const FoundString& found, const wchar_t* module, unsigned id) noexcept
        : m_text(found.text), m_isMarked(found.isFallback && s_bLocalSimulation) {
        if (!s_bStringOrigin || m_text.empty()) return;
        m_origin = writeOrigin(m_originBuffer, module, id);
        if (m_origin.empty()) m_text = {};
    }
    DecoratedString(const DecoratedString&) = delete;  // m_origin would refer to the original
    DecoratedString& operator=(const DecoratedString&) = delete;

    /// Returns the length without the marks. The manager returns this length to its callers.
    std::size_t length() const noexcept { return m_origin.size() + m_text.size(); }
    std::size_t lengthWithMarks() const noexcept {
        return length() + (isMarked() ? kMarkBefore.size() + kMarkAfter.size() : 0);
    }
    bool isMarked() const noexcept { return m_isMarked && length() > 0; }

    /// Returns the length without the marks, up to the first embedded NUL of the string.
    std::size_t lengthUpToNul() const noexcept {
        return m_origin.size() + std::min(m_text.find(L'\0'), m_text.size());
    }

    /// Writes length() characters.
    void write(wchar_t* to) const noexcept { m_text.copy(put(m_origin, to), m_text.size()); }

    /// Writes lengthUpToNul() characters.
    void writeUpToNul(wchar_t* to) const noexcept {
        m_text.copy(put(m_origin, to), lengthUpToNul() - m_origin.size());
    }

    /// Writes lengthWithMarks() characters.
    void writeWithMarks(wchar_t* to) const noexcept {
        if (isMarked()) to = put(kMarkBefore, to);
        write(to);
        if (isMarked()) put(kMarkAfter, to + length());
    }

private:
    static wchar_t* put(std::wstring_view piece, wchar_t* to) noexcept {
        return to + piece.copy(to, piece.size());
    }

    wchar_t m_originBuffer[255];  // m_origin is a view of this buffer
    std::wstring_view m_origin;   // empty if origins are disabled
    std::wstring_view m_text;
    bool m_isMarked;
};

/// Adds the marks before and after the NUL-terminated string in a buffer. If the string and the
/// marks do not fit into the buffer, or exceed kMaxMarkedSize, the buffer receives the empty
/// string.
void markInPlace(wchar_t* buf, std::size_t size) noexcept {
    const std::size_t length = std::wcslen(buf);
    const std::size_t marked = kMarkBefore.size() + length + kMarkAfter.size();
    if (marked >= size || marked >= kMaxMarkedSize) {
        buf[0] = L'\0';
        return;
    }
    wchar_t* const text = buf + kMarkBefore.size();
    // NOLINTNEXTLINE(bugprone-not-null-terminated-result): the last line writes the terminator
    std::wmemmove(text, buf, length);
    kMarkBefore.copy(buf, kMarkBefore.size());
    kMarkAfter.copy(text + length, kMarkAfter.size());
    buf[marked] = L'\0';
}

/// Copies a string into a buffer, which must already contain the empty string. Returns the value
/// that Manager::loadStringW() returns.
int copyOut(const DecoratedString& string, wchar_t* buf, std::size_t size) noexcept {
    std::size_t length = string.length();
    if (length < size) {
        string.write(buf);
    } else {
        // Compatibility: clients rely on the behavior of wcsncpy_s, which stops at the first NUL.
        // If the whole string does not fit, but the part before the first NUL fits, this part is
        // copied and the result is `size` - 1.
        const std::size_t lengthUpToNul = string.lengthUpToNul();
        if (lengthUpToNul >= size) return 0;
        string.writeUpToNul(buf);
        buf[lengthUpToNul] = L'\0';
        length = size - 1;
    }
    buf[length] = L'\0';
    if (string.isMarked()) markInPlace(buf, size);
    return static_cast<int>(length);
}

int copyOut(const DecoratedString& string, std::wstring& out) {
    if (string.length() == 0) return 0;
    out.resize(string.lengthWithMarks());
    string.writeWithMarks(out.data());
    return static_cast<int>(string.length());
}

HRESULT copyOut(const DecoratedString& string, BSTR& out) {
    if (string.length() == 0) return E_FAIL;
    platform::Bstr text = platform::Bstr::ofLength(string.lengthWithMarks());
    if (!text.get()) platform::throwComError(E_OUTOFMEMORY);
    string.writeWithMarks(text.get());
    out = text.detach();
    return S_OK;
}

}  // namespace

int Manager::loadStringW(const wchar_t* module, unsigned id, wchar_t* buf, int size) const {
    if (!buf || size <= 0) return 0;
    buf[0] = L'\0';
    const platform::CriticalSectionLock lock(m_lock.m_sec);
    return copyOut({findForCulture(resolve(module, false), id), module, id}, buf,
                   static_cast<std::size_t>(size));
}

int Manager::loadDefaultStringW(const wchar_t* module, unsigned id, wchar_t* buf, int size) const {
    if (!buf || size <= 0) return 0;
    buf[0] = L'\0';
    const platform::CriticalSectionLock lock(m_lock.m_sec);
    return copyOut({findForDefault(resolve(module, true), id), module, id}, buf,
                   static_cast<std::size_t>(size));
}

int Manager::loadStdStringW(const wchar_t* module, unsigned id, std::wstring& out) const {
    const platform::CriticalSectionLock lock(m_lock.m_sec);
    return copyOut({findForCulture(resolve(module, false), id), module, id}, out);
}

int Manager::loadDefaultStdStringW(const wchar_t* module, unsigned id, std::wstring& out) const {
    const platform::CriticalSectionLock lock(m_lock.m_sec);
    return copyOut({findForDefault(resolve(module, true), id), module, id}, out);
}

HRESULT Manager::loadBString(const wchar_t* module, unsigned id, BSTR* out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    const platform::CriticalSectionLock lock(m_lock.m_sec);
    return copyOut({findForCulture(resolve(module, false), id), module, id}, *out);
}

HRESULT Manager::loadDefaultBString(const wchar_t* module, unsigned id, BSTR* out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    const platform::CriticalSectionLock lock(m_lock.m_sec);
    return copyOut({findForDefault(resolve(module, true), id), module, id}, *out);
}

int Manager::loadStringA(const wchar_t* module, unsigned id, char* buf, int size) const {
    if (!buf || size < 1) return 0;
    buf[0] = '\0';
    std::wstring wide;
    const int count = loadStdStringW(module, id, wide);
    i18nstr::wide2mb(wide.c_str(), static_cast<int>(wide.size()), buf, static_cast<unsigned>(size));
    return count;
}

int Manager::loadDefaultStringA(const wchar_t* module, unsigned id, char* buf, int size) const {
    if (!buf || size < 1) return 0;
    buf[0] = '\0';
    std::wstring wide;
    const int count = loadDefaultStdStringW(module, id, wide);
    i18nstr::wide2mb(wide.c_str(), static_cast<int>(wide.size()), buf, static_cast<unsigned>(size));
    return count;
}

int Manager::loadStdStringA(const wchar_t* module, unsigned id, std::string& out) const {
    std::wstring wide;
    const int count = loadStdStringW(module, id, wide);
    if (count > 0) i18nstr::wide2mb(wide.c_str(), static_cast<int>(wide.size()), out);
    return count;
}

int Manager::loadDefaultStdStringA(const wchar_t* module, unsigned id, std::string& out) const {
    std::wstring wide;
    const int count = loadDefaultStdStringW(module, id, wide);
    if (count > 0) i18nstr::wide2mb(wide.c_str(), static_cast<int>(wide.size()), out);
    return count;
}

}  // namespace i18nres
