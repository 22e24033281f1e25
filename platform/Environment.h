#pragma once

#include <cstddef>

namespace platform {

/// These functions read the current environment of this process. The variables of the environment
/// can be set by the program that started the process, by `SetEnvironmentVariableW` and by
/// `_wputenv`. The functions do not use the C runtime library, because its functions report only
/// changes that were made through the same runtime library, and their results for undefined
/// variables depend on the runtime library.

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
