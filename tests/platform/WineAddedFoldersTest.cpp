#include "platform/WineAddedFolders.h"

#include <doctest/doctest.h>
#include <windows.h>

#include <string>

namespace {

/// Creates a folder with one file, which is not a library. Deletes the folder and the file at the
/// end of the scope.
class FolderWithFile {
public:
    explicit FolderWithFile(const wchar_t* fileName) {
        wchar_t temporary[MAX_PATH];
        ::GetTempPathW(MAX_PATH, temporary);
        m_folder = std::wstring(temporary) + L"added" + std::to_wstring(::GetCurrentProcessId());
        m_file = m_folder + L"\\" + fileName;
        REQUIRE(::CreateDirectoryW(m_folder.c_str(), nullptr));
        const HANDLE file = ::CreateFileW(m_file.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                          FILE_ATTRIBUTE_NORMAL, nullptr);
        REQUIRE(file != INVALID_HANDLE_VALUE);
        ::CloseHandle(file);
    }
    FolderWithFile(const FolderWithFile&) = delete;
    FolderWithFile& operator=(const FolderWithFile&) = delete;
    ~FolderWithFile() {
        ::DeleteFileW(m_file.c_str());
        ::RemoveDirectoryW(m_folder.c_str());
    }
    const std::wstring& folder() const { return m_folder; }

private:
    std::wstring m_folder, m_file;
};

using platform::wine::isInAddedFolders;

TEST_CASE("A file in an added DLL folder is found only while the folder is added") {
    const FolderWithFile added(L"ledger_fr.dll");
    CHECK_FALSE(isInAddedFolders(L"ledger_fr.dll"));

    const auto cookie = ::AddDllDirectory(added.folder().c_str());
    CHECK(isInAddedFolders(L"ledger_fr.dll"));
    CHECK_FALSE(isInAddedFolders(L"ledger_de.dll"));
    ::RemoveDllDirectory(cookie);
    CHECK_FALSE(isInAddedFolders(L"ledger_fr.dll"));

    ::SetDllDirectoryW(added.folder().c_str());
    CHECK(isInAddedFolders(L"ledger_fr.dll"));
    ::SetDllDirectoryW(nullptr);
    CHECK_FALSE(isInAddedFolders(L"ledger_fr.dll"));
}

TEST_CASE("A file in a system folder is not found in the added DLL folders") {
    CHECK_FALSE(isInAddedFolders(L"winhttp.dll"));
}

}  // namespace
