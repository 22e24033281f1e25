#pragma once

#include <windows.h>

#include <string>

/// A running program.
struct Program {
    DWORD process = 0;  ///< process identifier; 0 if no program was found
    std::wstring name;  ///< a file name such as "notepad.exe"; empty if access is denied
};

/// Returns the program that put the data on the clipboard. If that program has ended, `process` is
/// 0.
Program clipboardOwner();

/// Returns a description such as "notepad.exe (process 32)", "process 32" or "no running program".
std::wstring describe(const Program& program);

/// Returns a description of the program that has the clipboard open. The description includes the
/// title of the program's window, if the program has one.
std::wstring describeOpenClipboardProgram();
