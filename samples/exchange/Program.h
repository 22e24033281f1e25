#pragma once

#include <windows.h>

#include <fcntl.h>
#include <io.h>

#include <new>
#include <string>

#include "samples/exchange/Console.h"
#include "samples/exchange/Failure.h"

/// The body of wmain: does the work of the program `name` and gives its exit status. A Failure that
/// `work` throws is told on the standard error, one of its arguments with how the program is used.
template <class Work>
int runProgram(const std::wstring& name, const wchar_t* usage, Work work) {
    ::SetConsoleOutputCP(CP_UTF8);
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
    try {
        work();
        return kDone;
    } catch (const Failure& failure) {
        print(stderr, name + L": " + failure.message + L"\n");
        if (failure.status == kUsageError) print(stderr, usage);
        return failure.status;
    } catch (const std::bad_alloc&) {
        print(stderr, name + L": memory has run out\n");
        return kRefused;
    }
}
