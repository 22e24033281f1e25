#pragma once

#include <cstddef>

namespace platform {

/// These functions read the current environment of this process. The program that started the
/// process, `SetEnvironmentVariableW` and `_wputenv` can set its variables. The functions of the C
/// runtime library are not used: they report only changes that were made through the same runtime
/// library, and different runtime libraries have different results for undefined variables.

/// Returns true if the variable exists, even if its value is empty.
bool isEnvironmentVariableDefined(const wchar_t* name) noexcept;

/// Reads the value of a variable. The value of an undefined variable is the empty text.
///
/// @param[out] value  Receives the empty text if the value does not fit. May be null if `size` is
///                    0.
/// @param size        Size of `value` in characters, including the terminator.
/// @return true if the value and its terminator fit. Always false if `size` is 0.
bool readEnvironmentVariable(const wchar_t* name, wchar_t* value, std::size_t size) noexcept;

}  // namespace platform
