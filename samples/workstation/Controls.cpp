#include "samples/workstation/Controls.h"

#include <commctrl.h>

#include <algorithm>

namespace {

/// Makes the Tab key move the focus out of a multiline edit control, which would otherwise process
/// the key.
LRESULT CALLBACK letDialogHandleTab(HWND edit, UINT message, WPARAM wParam, LPARAM lParam, UINT_PTR,
                                    DWORD_PTR) {
    const LRESULT result = ::DefSubclassProc(edit, message, wParam, lParam);
    return message == WM_GETDLGCODE ? result & ~(DLGC_WANTTAB | DLGC_WANTALLKEYS) : result;
}

}  // namespace

HWND addControl(HWND parent, const wchar_t* className, DWORD style, DWORD extendedStyle) {
    return ::CreateWindowExW(extendedStyle, className, nullptr, WS_CHILD | WS_VISIBLE | style, 0, 0,
                             0, 0, parent, nullptr, ::GetModuleHandleW(nullptr), nullptr);
}

HWND addLabel(HWND parent) { return addControl(parent, WC_STATICW, SS_ENDELLIPSIS); }

HWND addList(HWND parent, DWORD style) {
    const HWND list =
        addControl(parent, WC_LISTVIEWW, WS_TABSTOP | LVS_REPORT | LVS_SHOWSELALWAYS | style,
                   WS_EX_CLIENTEDGE);
    ListView_SetExtendedListViewStyle(list, LVS_EX_FULLROWSELECT | LVS_EX_DOUBLEBUFFER);
    return list;
}

HWND addTextView(HWND parent, DWORD style) {
    const HWND view = addControl(parent, WC_EDITW,
                                 WS_TABSTOP | ES_MULTILINE | ES_READONLY | ES_AUTOVSCROLL | style,
                                 WS_EX_CLIENTEDGE);
    ::SetWindowSubclass(view, letDialogHandleTab, 0, 0);
    return view;
}

void setText(HWND window, const std::wstring& text) { ::SetWindowTextW(window, text.c_str()); }

void setPosition(HWND window, const RECT& area) {
    ::MoveWindow(window, area.left, area.top, area.right - area.left, area.bottom - area.top, TRUE);
}

void setFonts(HWND window, HFONT font) {
    ::EnumChildWindows(
        window,
        [](HWND child, LPARAM newFont) {
            ::SendMessageW(child, WM_SETFONT, static_cast<WPARAM>(newFont), TRUE);
            return TRUE;
        },
        reinterpret_cast<LPARAM>(font));
}

void setColumns(HWND list, std::initializer_list<Column> columns) {
    RECT area{};
    ::GetClientRect(list, &area);
    int left = area.right - area.left;
    for (const Column& column : columns) left -= column.width;

    const int present = Header_GetItemCount(ListView_GetHeader(list));
    int index = 0;
    for (const Column& column : columns) {
        LVCOLUMNW description{};
        description.mask = LVCF_TEXT | LVCF_WIDTH;
        description.pszText = const_cast<wchar_t*>(column.title.c_str());
        description.cx = column.width ? column.width : std::max(left, 60);
        if (index < present)
            ::SendMessageW(list, LVM_SETCOLUMNW, static_cast<WPARAM>(index),
                           reinterpret_cast<LPARAM>(&description));
        else
            ::SendMessageW(list, LVM_INSERTCOLUMNW, static_cast<WPARAM>(index),
                           reinterpret_cast<LPARAM>(&description));
        ++index;
    }
}

void copyToBuffer(wchar_t* buffer, int size, const std::wstring& text) {
    if (buffer && size > 0) ::lstrcpynW(buffer, text.c_str(), size);
}
