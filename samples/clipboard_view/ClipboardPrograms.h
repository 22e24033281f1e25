#pragma once

#include <windows.h>

#include <string>

/// A running program. `process` is its process id. If no program was found, `process` is 0.
struct Program {
    DWORD process = 0;
    std::wstring name;  ///< a file name such as "notepad.exe"; empty if access is denied
};

/// Returns the program that put the data on the clipboard. If that program has ended, `process` is
/// 0.
Program clipboardOwner();

/// Returns a string such as "notepad.exe (process 32)" or "process 32", or "no running program".
std::wstring describe(const Program& program);

/// Describes the program that has the clipboard open, with the title of its window.
std::wstring describeClipboardHolder();
