#pragma once

#include <windows.h>

#include <memory>
#include <string>
#include <type_traits>
#include <vector>

/// The deleter of a std::unique_ptr that owns a Windows handle.
template <class Handle, auto destroy>
struct DestroyHandle {
    using pointer = Handle;
    void operator()(Handle handle) const { destroy(handle); }
};
using Icon = std::unique_ptr<HICON, DestroyHandle<HICON, ::DestroyIcon>>;
using Menu = std::unique_ptr<HMENU, DestroyHandle<HMENU, ::DestroyMenu>>;

/// Loads the resources of charts.dll for the current culture. The DLL is in the same folder
/// as the program.
class ChartsModule {
public:
    struct String {
        unsigned id;
        std::wstring text;
        std::wstring library;  ///< the file name of the library that contains the string
    };

    ChartsModule();

    /// Returns the culture tags of all satellites in the folder of the module, in alphabetical
    /// order.
    std::vector<std::wstring> cultures() const;

    std::vector<String> strings() const;
    /// Returns null if no library contains the icon.
    Icon icon(int size) const;
    /// Returns null if no library contains the menu.
    Menu menu() const;
    /// Returns the text of the HTML page without its markup, or an empty string if no library
    /// contains the page.
    std::wstring pageText() const;

private:
    std::vector<HINSTANCE> libraries() const;

    std::wstring m_path;
    std::unique_ptr<HMODULE, DestroyHandle<HMODULE, ::FreeLibrary>> m_module;
};
