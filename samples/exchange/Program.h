#pragma once

#include <string>

#include "samples/exchange/Console.h"
#include "samples/exchange/Failure.h"
#include "samples/exchange/OutOfMemory.h"

/// The body of wmain. Calls `work` and returns the exit status of the program. If the only argument
/// is --help or -h, prints `usage` and does not call `work`. If `work` throws a Failure, prints
/// `name` and the message of the Failure to standard error, and returns the status of the Failure.
/// If memory runs out, returns kRefused.
template <class Work>
int runProgram(const std::wstring& name, const wchar_t* usage, int argc, wchar_t** argv,
               Work work) {
    useBinaryStreams();
    if (argc == 2 && (argv[1] == std::wstring(L"--help") || argv[1] == std::wstring(L"-h"))) {
        print(stdout, usage);
        return kDone;
    }
    try {
        if (runCatchingOutOfMemory(work)) return kDone;
        print(stderr, name + L": memory has run out\n");
        return kRefused;
    } catch (const Failure& failure) {
        const bool isUsageError = failure.status == kUsageError;
        const std::wstring hint = isUsageError ? L"; see " + name + L" --help" : L"";
        print(stderr, name + L": " + failure.message + hint + L"\n");
        if (isUsageError && argc < 2) print(stderr, usage);
        return failure.status;
    }
}
