#pragma once

#include <windows.h>

#include <string>

/// A running program. `process` is 0 if there is none.
struct Program {
    DWORD process = 0;
    std::wstring name;  ///< "notepad.exe"; empty if the system does not allow to read it
};

/// The program that put the data on the clipboard: none after it has ended.
Program clipboardOwner();

/// "notepad.exe (process 32)", "process 32", or "no running program".
std::wstring describe(const Program& program);

/// The program that has the clipboard open, with the title of its window.
std::wstring describeClipboardHolder();
