#pragma once

#include <cstddef>

namespace platform {

/// The current environment of this process, which `_wputenv`, `SetEnvironmentVariableW` and the
/// program that started the process can set. The functions of the runtime library see only changes
/// that were made through the same runtime library, and they differ for undefined variables.

/// Whether the variable exists, with any value. An empty value counts: the system needs room for
/// its terminator.
bool isEnvironmentVariableDefined(const wchar_t* name) noexcept;

/// Reads the value of a variable; an undefined one is read as the empty text.
///
/// @param[out] value  The empty text when the value does not fit. May be null when `size` is 0.
/// @param size        Of `value`, in characters, terminator counted.
/// @return whether the value and its terminator fit. Never for a `size` of 0.
bool readEnvironmentVariable(const wchar_t* name, wchar_t* value, std::size_t size) noexcept;

}  // namespace platform
