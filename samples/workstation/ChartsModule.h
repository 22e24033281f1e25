#pragma once

#include <windows.h>

#include <memory>
#include <string>
#include <type_traits>
#include <vector>

/// Destroys the object of a handle, as the deleter of a std::unique_ptr.
template <class Handle, auto destroy>
struct DestroyHandle {
    using pointer = Handle;
    void operator()(Handle handle) const { destroy(handle); }
};
using Icon = std::unique_ptr<HICON, DestroyHandle<HICON, ::DestroyIcon>>;
using Menu = std::unique_ptr<HMENU, DestroyHandle<HMENU, ::DestroyMenu>>;

/// The resources of charts.dll, which is in the folder of the program, in the user's culture.
class ChartsModule {
public:
    struct String {
        unsigned id;
        std::wstring text;
        std::wstring library;  ///< the file name of the library that has it
    };

    ChartsModule();

    /// The tags of all satellites in the folder of the module, in order.
    std::vector<std::wstring> cultures() const;

    std::vector<String> strings() const;
    /// Null if no library has the icon.
    Icon icon(int size) const;
    /// Null if no library has the menu.
    Menu menu() const;
    /// The text of the HTML page, without its markup. Empty if no library has the page.
    std::wstring pageText() const;

private:
    std::vector<HINSTANCE> libraries() const;

    std::wstring m_path;
    std::unique_ptr<HMODULE, DestroyHandle<HMODULE, ::FreeLibrary>> m_module;
};
