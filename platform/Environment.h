#pragma once

#include <cstddef>

namespace platform {

/// These functions read the current environment of this process, including changes that were made
/// with `SetEnvironmentVariableW` or `_wputenv`. They do not use the C runtime library. A C runtime
/// library reports only the changes that were made with its own functions. In addition, different
/// runtime libraries report undefined variables in different ways.

/// Returns true if the variable exists, even if its value is empty.
bool isEnvironmentVariableDefined(const wchar_t* name) noexcept;

/// Reads the value of a variable. The value of an undefined variable is the empty string.
///
/// @param[out] value  Receives the value, or the empty string if the value does not fit. May be
///                    null if `size` is 0.
/// @param size        Size of `value` in characters, including the terminator.
/// @return true if the value and its terminator fit. Always false if `size` is 0.
bool readEnvironmentVariable(const wchar_t* name, wchar_t* value, std::size_t size) noexcept;

}  // namespace platform
