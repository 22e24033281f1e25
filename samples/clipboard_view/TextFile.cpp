#include "samples/clipboard_view/TextFile.h"

#include <windows.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include <I18nResource.h>

#include "samples/exchange/Failure.h"

namespace {

constexpr std::size_t kMaxFileSize = 64u << 20;

[[noreturn]] void fail(const std::wstring& location, const std::wstring& message) {
    throw Failure{kBadFile, location + L": " + message};
}

}  // namespace

std::string readFile(const std::wstring& path) {
    std::ifstream file(std::filesystem::path(path), std::ios::binary);
    if (!file) {
        std::error_code ignored;
        if (std::filesystem::exists(path, ignored))
            fail(path, L"cannot be opened; check that you have permission to read it");
        fail(path, L"there is no such file; the current folder is " +
                       std::filesystem::current_path(ignored).wstring());
    }

    std::string bytes;
    char part[65536];
    while (file) {
        file.read(part, sizeof part);
        bytes.append(part, static_cast<std::size_t>(file.gcount()));
        if (bytes.size() > kMaxFileSize) fail(path, L"is larger than 64 MB");
    }
    if (file.bad()) fail(path, L"cannot be read");
    return bytes;
}

std::string readTextFile(const std::wstring& path) {
    std::string bytes = readFile(path);
    if (const std::size_t nul = bytes.find('\0'); nul != std::string::npos) {
        const auto line =
            1 + std::count(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(nul), '\n');
        fail(path + L", line " + std::to_wstring(line), L"contains a NUL");
    }
    if (bytes.starts_with("\xEF\xBB\xBF")) bytes.erase(0, 3);
    return bytes;
}

std::optional<std::wstring> decodeUtf8(std::string_view bytes) {
    if (bytes.empty()) return std::wstring();
    const int size = static_cast<int>(bytes.size());
    const int length =
        ::MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, bytes.data(), size, nullptr, 0);
    if (length == 0) return std::nullopt;
    std::wstring text(static_cast<std::size_t>(length), L'\0');
    ::MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, bytes.data(), size, text.data(), length);
    return text;
}

std::wstring decodeNarrow(std::string_view bytes) {
    if (auto text = decodeUtf8(bytes)) return *text;
    std::wstring text;
    i18nstr::mb2wide(std::string(bytes).c_str(), -1, text);
    return text;
}
