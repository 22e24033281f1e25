#pragma once

#include <string>

/// The exit status of the program. The usage text lists the values.
enum ExitStatus {
    kDone = 0,
    kUsageError = 1,
    kBadFile = 2,
    kClipboardBusy = 3,
    kNothingToPaste = 4,
    kRefused = 5,
    kNotDelivered = 6
};

/// The exception that ends the program, with a message for the user and an exit status for scripts.
struct Failure {
    ExitStatus status;
    std::wstring message;
};
