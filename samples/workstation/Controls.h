#pragma once

#include <windows.h>

#include <initializer_list>
#include <string>

/// Adds a visible control to a window. Text, font and place come later.
HWND addControl(HWND parent, const wchar_t* className, DWORD style, DWORD extendedStyle = 0);
/// Adds a label; "&" in its text makes a mnemonic for the control that is added next.
HWND addLabel(HWND parent);
/// Adds a list of rows and columns.
HWND addList(HWND parent, DWORD style);

/// Adds a view of text that is read only. The Tab key leaves it.
HWND addTextView(HWND parent, DWORD style);

void setText(HWND window, const std::wstring& text);
void place(HWND window, const RECT& area);
/// Gives all controls in a window a font.
void setFonts(HWND window, HFONT font);

struct Column {
    std::wstring title;
    int width;  ///< 0: what the others leave
};
/// Sets titles and widths of a list's columns and adds those that it lacks.
void setColumns(HWND list, std::initializer_list<Column> columns);
/// Gives a text to a list that asks for it, as much as the list has room for.
void answer(wchar_t* room, int size, const std::wstring& text);
