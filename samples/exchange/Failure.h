#pragma once

#include <string>

/// The exit status of the program; the usage text lists them.
enum ExitStatus {
    kDone = 0,
    kUsageError = 1,
    kBadFile = 2,
    kClipboardBusy = 3,
    kNothingToPaste = 4,
    kRefused = 5,
    kNotDelivered = 6
};

/// Thrown when the program cannot continue, with a message for the user and a status for scripts.
struct Failure {
    ExitStatus status;
    std::wstring message;
};
