// Throws the specified exception in runProgram(), in which the exchange and sheet samples also run.
//
//   memory_failure bad_alloc|com_error
#include <windows.h>

#include <comdef.h>

#include <new>
#include <string>

#include "samples/exchange/Program.h"

int wmain(int argc, wchar_t** argv) {
    return runProgram(L"memory_failure", L"", argc, argv, [&] {
        if (argc == 2 && argv[1] == std::wstring(L"bad_alloc")) throw std::bad_alloc();
        throw _com_error(E_OUTOFMEMORY);
    });
}
