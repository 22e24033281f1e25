#pragma once

#include <string>

/// How the program ends; the usage text tells these to the user.
enum ExitStatus {
    kDone = 0,
    kUsageError = 1,
    kBadFile = 2,
    kClipboardBusy = 3,
    kNothingToPaste = 4,
    kRefused = 5,
    kNotDelivered = 6
};

/// Thrown where the program cannot go on: the message is for the user, the status for scripts.
struct Failure {
    ExitStatus status;
    std::wstring message;
};
