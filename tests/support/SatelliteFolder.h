#pragma once
// A temporary folder for modules and their satellites, and other fixtures for tests of the resource
// manager.
#include <windows.h>

#include <doctest/doctest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include "i18nres/i18nres.h"
#include "tests/support/ResourceLibrary.h"

namespace testsupport {

// Creates an empty folder. The destructor deletes the folder and its contents. Declare this object
// before objects that load libraries from the folder, so that those objects are destroyed first.
class SatelliteFolder {
public:
    SatelliteFolder() {
        static int s_count = 0;
        wchar_t temporary[MAX_PATH];
        ::GetTempPathW(MAX_PATH, temporary);
        m_path = std::wstring(temporary) + L"i18nres-" + std::to_wstring(::GetCurrentProcessId()) +
                 L"-" + std::to_wstring(++s_count) + L"\\";
        // The folder may exist, because an earlier process with the same process ID may have failed
        // to delete it. A folder cannot be deleted while a library in it is loaded.
        std::filesystem::remove_all(m_path);
        std::filesystem::create_directories(m_path);
    }
    SatelliteFolder(const SatelliteFolder&) = delete;
    SatelliteFolder& operator=(const SatelliteFolder&) = delete;
    ~SatelliteFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }

    // Returns the path of the folder with a backslash at the end.
    const std::wstring& path() const { return m_path; }
    std::wstring file(std::wstring_view name) const { return m_path + std::wstring(name); }

    void put(std::wstring_view name, const ResourceLibrary& library) { put(name, library.image()); }
    void put(std::wstring_view name, const std::string& bytes) {
        const std::filesystem::path path = file(name);
        std::filesystem::create_directories(path.parent_path());
        std::ofstream stream(path, std::ios::binary);
        stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        REQUIRE(stream.good());
    }

private:
    std::wstring m_path;
};

// Loads a module with LoadLibrary, as an application does, and frees it at the end of the scope.
class LoadedModule {
public:
    explicit LoadedModule(const std::wstring& path) : m_module(::LoadLibraryW(path.c_str())) {
        REQUIRE(m_module);
    }
    LoadedModule(const LoadedModule&) = delete;
    LoadedModule& operator=(const LoadedModule&) = delete;
    ~LoadedModule() { ::FreeLibrary(m_module); }
    HINSTANCE get() const { return m_module; }

private:
    HINSTANCE m_module;
};

// Sets the current folder until the end of the scope. The system searches the current folder for
// DLLs.
class CurrentFolder {
public:
    explicit CurrentFolder(const std::wstring& path) {
        ::GetCurrentDirectoryW(MAX_PATH, m_before);
        REQUIRE(::SetCurrentDirectoryW(path.c_str()));
    }
    CurrentFolder(const CurrentFolder&) = delete;
    CurrentFolder& operator=(const CurrentFolder&) = delete;
    ~CurrentFolder() { ::SetCurrentDirectoryW(m_before); }

private:
    wchar_t m_before[MAX_PATH];
};

// Sets an environment variable until the end of the scope. A null value deletes the variable.
class ScopedVariable {
public:
    ScopedVariable(const wchar_t* name, const wchar_t* value) : m_name(name) {
        wchar_t before[256];
        ::SetLastError(0);
        m_defined = ::GetEnvironmentVariableW(name, before, 256) > 0 || ::GetLastError() == 0;
        if (m_defined) m_before = before;
        ::SetEnvironmentVariableW(name, value);
    }
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;
    ~ScopedVariable() { ::SetEnvironmentVariableW(m_name, m_defined ? m_before.c_str() : nullptr); }

private:
    const wchar_t* m_name;
    bool m_defined;
    std::wstring m_before;
};

enum class Switches { none, origin, marks, both };

// Creates the resource manager with the given switches, and destroys it at the end of the scope.
class ManagerSession {
public:
    explicit ManagerSession(Switches switches = Switches::none) {
        const bool origin = switches == Switches::origin || switches == Switches::both;
        const bool marks = switches == Switches::marks || switches == Switches::both;
        const ScopedVariable first(L"ZEPH_RES_STRING_ORIGIN", origin ? L"1" : nullptr);
        const ScopedVariable second(L"ORVEX_LOCAL_SIMULATION", marks ? L"1" : nullptr);
        REQUIRE(i18nres::Manager::s_nRefCount == 0);
        i18nres::Manager::Init();
    }
    ManagerSession(const ManagerSession&) = delete;
    ManagerSession& operator=(const ManagerSession&) = delete;
    ~ManagerSession() { i18nres::Manager::Term(); }

    i18nres::Manager& operator*() const { return *i18nres::Manager::Instance(); }
    i18nres::Manager* operator->() const { return i18nres::Manager::Instance(); }
};

}  // namespace testsupport
