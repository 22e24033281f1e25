#pragma once

#include <cstddef>

namespace platform {

/// The environment of this process as it stands now, whoever changed it last: `_wputenv`,
/// `SetEnvironmentVariableW` or the program that started us. The runtime library's own readers see
/// only what went through the same runtime library, and they disagree about undefined variables.

/// Whether the variable exists, whatever its value. An empty value counts: the system needs room
/// for its terminator.
bool isEnvironmentVariableDefined(const wchar_t* name) noexcept;

/// Reads the value of a variable; an undefined one reads as the empty text.
///
/// @param[out] value  Holds the empty text when the value does not fit. May be null when `size` is
/// 0.
/// @param size        Of `value`, in characters, terminator counted.
/// @return whether the value and its terminator fit. Never for a `size` of 0.
bool readEnvironmentVariable(const wchar_t* name, wchar_t* value, std::size_t size) noexcept;

}  // namespace platform
