#include "tools/satellites/Files.h"

#include <windows.h>

#include <algorithm>
#include <climits>
#include <memory>
#include <string_view>

#include "tools/satellites/Failure.h"
#include "tools/satellites/Utf8.h"

namespace satellites {

namespace {

struct CloseFile {
    void operator()(void* file) const noexcept { ::CloseHandle(file); }
};
using FileHandle = std::unique_ptr<void, CloseFile>;

struct CloseSearch {
    void operator()(void* search) const noexcept { ::FindClose(search); }
};

FileHandle openFile(const std::wstring& path, DWORD access, DWORD share, DWORD disposition) {
    const HANDLE file = ::CreateFileW(path.c_str(), access, share, nullptr, disposition,
                                      FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        throw Failure{path + L": " + reasonOf(::GetLastError())};
    }
    return FileHandle(file);
}

/// Returns the Windows path for a path such as /home/me/charts.dll. Under Wine, such a path is a
/// Unix path, and Wine converts it. On Windows, it is a path on the current drive, and the function
/// returns it unchanged.
std::wstring windowsPath(const std::wstring& path) {
    if (!path.starts_with(L'/')) return path;
    using Translate = wchar_t*(CDECL*)(const char* unixPath);
    const auto translate = reinterpret_cast<Translate>(reinterpret_cast<void*>(
        ::GetProcAddress(::GetModuleHandleW(L"kernel32.dll"), "wine_get_dos_file_name")));
    if (!translate) return path;
    const std::string unixPath = utf8(path);
    wchar_t* const translated = translate(unixPath.c_str());
    if (!translated) return path;
    std::wstring result = translated;
    ::HeapFree(::GetProcessHeap(), 0, translated);
    return result;
}

std::size_t nameStart(const std::wstring& path) {
    const std::size_t slash = path.find_last_of(L"\\/:");
    return slash == std::wstring::npos ? 0 : slash + 1;
}

bool isEqualIgnoringCase(std::wstring_view a, std::wstring_view b) {
    return ::CompareStringOrdinal(a.data(), static_cast<int>(a.size()), b.data(),
                                  static_cast<int>(b.size()), TRUE) == CSTR_EQUAL;
}

/// Returns true if a file name starts with `prefix` and ends in ".dll". FindFirstFileW does not
/// guarantee this, because it also compares the pattern with the short (8.3) names of the files.
/// For example, the short name of charts_fr.dll_old ends in ".DLL".
bool isLibrary(std::wstring_view name, std::wstring_view prefix) {
    constexpr std::wstring_view kExtension = L".dll";
    return name.size() >= prefix.size() + kExtension.size() &&
           isEqualIgnoringCase(name.substr(0, prefix.size()), prefix) &&
           isEqualIgnoringCase(name.substr(name.size() - kExtension.size()), kExtension);
}

}  // namespace

std::wstring reasonOf(unsigned long error) {
    wchar_t text[256];
    DWORD length = ::FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
                                    nullptr, error, MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US),
                                    text, static_cast<DWORD>(std::size(text)), nullptr);
    while (length > 0 && (text[length - 1] <= L' ' || text[length - 1] == L'.')) --length;
    if (length == 0) return L"error " + std::to_wstring(error);
    return {text, length};
}

std::wstring fullPath(const std::wstring& path) {
    const std::wstring name = windowsPath(path);
    std::wstring full(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length =
            ::GetFullPathNameW(name.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr);
        if (length == 0) throw Failure{path + L": " + reasonOf(::GetLastError())};
        const bool fits = length < full.size();
        full.resize(length);
        if (fits) return full;
    }
}

std::wstring folderOf(const std::wstring& path) { return path.substr(0, nameStart(path)); }
std::wstring fileNameOf(const std::wstring& path) { return path.substr(nameStart(path)); }
std::wstring stemOf(const std::wstring& path) {
    const std::wstring name = fileNameOf(path);
    return name.substr(0, name.find_last_of(L'.'));
}

std::wstring satelliteNameOf(const std::wstring& modulePath, const std::wstring& culture) {
    return stemOf(modulePath) + L"_" + culture + L".dll";
}

bool exists(const std::wstring& path) {
    if (::GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES) return true;
    const DWORD error = ::GetLastError();
    if (error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND) return false;
    throw Failure{path + L": " + reasonOf(error)};
}

std::vector<std::byte> readFile(const std::wstring& path) {
    const FileHandle file =
        openFile(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_DELETE, OPEN_EXISTING);
    LARGE_INTEGER size;
    if (!::GetFileSizeEx(file.get(), &size)) {
        throw Failure{path + L": " + reasonOf(::GetLastError())};
    }
    if (size.QuadPart > INT_MAX) throw Failure{path + L": the file is larger than 2 GB"};
    std::vector<std::byte> bytes(static_cast<std::size_t>(size.QuadPart));
    DWORD read = 0;
    if (!::ReadFile(file.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &read, nullptr)) {
        throw Failure{path + L": " + reasonOf(::GetLastError())};
    }
    bytes.resize(read);
    return bytes;
}

void writeFile(const std::wstring& path, std::span<const std::byte> bytes) {
    Replacement file(path);
    file.write(bytes);
    file.commit();
}

Replacement::Replacement(const std::wstring& target) : m_target(target) {
    const DWORD attributes = ::GetFileAttributesW(target.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES && attributes & FILE_ATTRIBUTE_READONLY) {
        throw Failure{target + L": the file is read-only"};
    }
    constexpr std::size_t kMaxFolderLength = MAX_PATH - 14;  // GetTempFileName has this limit
    const std::wstring folder = folderOf(target);
    if (folder.size() > kMaxFolderLength) {
        throw Failure{target + L": the path of its folder has more than " +
                      std::to_wstring(kMaxFolderLength) + L" characters"};
    }
    wchar_t path[MAX_PATH];
    if (::GetTempFileNameW(folder.c_str(), L"i18", 0, path) == 0) {
        throw Failure{target + L": no file can be made in its folder: " +
                      reasonOf(::GetLastError())};
    }
    m_path = path;
}

Replacement::~Replacement() {
    if (!m_path.empty()) ::DeleteFileW(m_path.c_str());
}

void Replacement::write(std::span<const std::byte> bytes) {
    const FileHandle file = openFile(m_path, GENERIC_WRITE, 0, CREATE_ALWAYS);
    DWORD written = 0;
    if (!::WriteFile(file.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written,
                     nullptr) ||
        written != bytes.size()) {
        throw Failure{m_target + L": " + reasonOf(::GetLastError())};
    }
}

void Replacement::commit() {
    if (!::MoveFileExW(m_path.c_str(), m_target.c_str(), MOVEFILE_REPLACE_EXISTING)) {
        throw Failure{m_target + L": " + reasonOf(::GetLastError())};
    }
    m_path.clear();
}

std::vector<std::wstring> satelliteNamesIn(const std::wstring& folder,
                                           const std::wstring& modulePath) {
    const std::wstring prefix = stemOf(modulePath) + L"_";
    std::vector<std::wstring> names;
    WIN32_FIND_DATAW found;
    const std::wstring pattern = folder + satelliteNameOf(modulePath, L"*");
    const HANDLE search = ::FindFirstFileW(pattern.c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) {
        const DWORD error = ::GetLastError();
        if (error == ERROR_FILE_NOT_FOUND) return names;
        throw Failure{folder + L": " + reasonOf(error)};
    }
    const std::unique_ptr<void, CloseSearch> owner(search);
    do {
        const bool isFolder = (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
        if (!isFolder && isLibrary(found.cFileName, prefix)) names.push_back(found.cFileName);
    } while (::FindNextFileW(search, &found));
    const DWORD error = ::GetLastError();
    if (error != ERROR_NO_MORE_FILES) throw Failure{folder + L": " + reasonOf(error)};
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace satellites
