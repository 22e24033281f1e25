#pragma once

#include <windows.h>

#include <initializer_list>
#include <string>

/// Adds a visible control to a window. The control has no text, font or position.
HWND addControl(HWND parent, const wchar_t* className, DWORD style, DWORD extendedStyle = 0);
/// Adds a label. If its text contains a mnemonic, the mnemonic moves the focus to the control that
/// is added next.
HWND addLabel(HWND parent);
/// Adds a list view with rows and columns.
HWND addList(HWND parent, DWORD style);

/// Adds a read-only multiline text control. The Tab key moves the focus out of the control.
HWND addTextView(HWND parent, DWORD style);

void setText(HWND window, const std::wstring& text);
void setPosition(HWND window, const RECT& area);
/// Sets the font of all controls in a window.
void setFonts(HWND window, HFONT font);

struct Column {
    std::wstring title;
    /// The width in pixels. If it is 0, the column takes the remaining width of the list, but at
    /// least 60 pixels.
    int width;
};
/// Sets the titles and widths of the columns of a list. Adds missing columns.
void setColumns(HWND list, std::initializer_list<Column> columns);
/// Copies a string to the buffer of an LVN_GETDISPINFO notification. A string that does not fit is
/// truncated.
void copyToBuffer(wchar_t* buffer, int size, const std::wstring& text);
