#pragma once

#include <functional>

namespace satellites {

/// The exit statuses of the program.
enum ExitStatus { kDone = 0, kFound = 1, kWrongUsage = 2, kBadFile = 3 };

/// Calls `work` and returns its result. If `work` throws an exception, the function prints a
/// message to standard error and returns the exit status for the exception.
ExitStatus runProgram(const std::function<ExitStatus()>& work);

}  // namespace satellites
