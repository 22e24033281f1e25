#pragma once

#include <windows.h>

#include <initializer_list>
#include <string>

/// Adds a visible control to a window. Its text, font and position are set later.
HWND addControl(HWND parent, const wchar_t* className, DWORD style, DWORD extendedStyle = 0);
/// Adds a label; "&" in its text makes a mnemonic for the control that is added next.
HWND addLabel(HWND parent);
/// Adds a list of rows and columns.
HWND addList(HWND parent, DWORD style);

/// Adds a view of text that is read only. The Tab key leaves it.
HWND addTextView(HWND parent, DWORD style);

void setText(HWND window, const std::wstring& text);
void place(HWND window, const RECT& area);
/// Sets the font of all controls in a window.
void setFonts(HWND window, HFONT font);

struct Column {
    std::wstring title;
    int width;  ///< 0: what the others leave
};
/// Sets titles and widths of a list's columns and adds missing columns.
void setColumns(HWND list, std::initializer_list<Column> columns);
/// Copies a text into the buffer of a list's request, as much as fits.
void answer(wchar_t* room, int size, const std::wstring& text);
